#pragma once

#include <QString>

#include <filesystem>
#include <optional>

namespace driftwell {

/// Notes in a folder's ".git" of what this program has under way there. A note that is found where nothing is under way
/// tells that the program was killed, and in what.
///
/// They are empty files. Only for folders whose ".git" is a folder of their own (FolderGuard.h).
namespace UnderWay {

enum class Work {
    Merging,      ///< git may be writing files that are nobody's work until the merge is complete
    TakingOurs,   ///< git may be writing the folder's side of conflicted files
    TakingTheirs, ///< git may be writing the platform's side of them
};

/// Makes the note. Gives why it could not be made.
[[nodiscard]] std::optional<QString> begin(const std::filesystem::path& folder, Work work);
void end(const std::filesystem::path& folder, Work work);
[[nodiscard]] bool isNoted(const std::filesystem::path& folder, Work work);

} // namespace UnderWay

} // namespace driftwell
