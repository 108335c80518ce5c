#pragma once

#include "collab/LinkedFolder.h"
#include "support/Task.h"

#include <QString>

#include <optional>
#include <string>
#include <vector>

namespace driftwell {

/// Takes back what a merge that was killed, or that failed on its way, has left in a folder's files, so that it is
/// not taken for the person's work: git writes files before it notes that it merges, and a file that it was killed in
/// is cut off. Does nothing where no merge was under way (UnderWay.h), and where it was completed.
///
/// A file is given back its committed content only where the merge would change it, and where it is missing or holds
/// the beginning or the whole of what git would have written. All else is somebody's work since, and stays. Gives the
/// failure; the next call then goes on.
[[nodiscard]] Task<std::optional<QString>> takeBackLeftMerge(LinkedFolder folder);

/// Those of the unmerged files, clean as they may look, of which git may have written only the beginning when it was to
/// take one side of them. None where no side was being taken (UnderWay.h).
[[nodiscard]] Task<std::vector<std::string>> halfTaken(LinkedFolder folder, std::vector<std::string> unmerged);

} // namespace driftwell
