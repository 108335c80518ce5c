#pragma once

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace driftwell {

/// The paths that the index lists as unmerged, each with its stages, from what `git ls-files -u -z` prints: 1 is what
/// both sides come from, 2 the folder's, 3 the other's. An entry that is not understood is skipped, and a stage that is
/// missing is "?".
[[nodiscard]] std::map<std::string, std::set<std::string>> parseUnmerged(std::string_view list);

/// Whether a text still has a line that a merge has put in as a marker.
[[nodiscard]] bool hasConflictMarkers(std::string_view text);

/// Those of the unmerged paths that are not clean yet, sorted. Only a text file that both sides have changed can become
/// clean by its content. A file that cannot be read is not clean. Blocking; any thread.
[[nodiscard]] std::vector<std::string> unresolvedAmong(const std::filesystem::path& folder,
                                                       const std::map<std::string, std::set<std::string>>& unmerged);

} // namespace driftwell
