#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <string_view>

namespace driftwell {

/// Whether anybody else can be replacing the same file at the same time.
enum class Writers {
    One,     ///< a lock, or a folder of the caller's own, keeps everybody else out
    Several, ///< others can, and the last one to finish wins
};

/// Replaces a file as a whole: a reader sees the old content or the new, never a part, also after a crash or on a full
/// disk. The new content is written beside the target under the name ".NAME.new", flushed, and renamed over it
/// (rename(2)); then the folder is flushed. A target that is a symbolic link stays one, and the file it leads to is
/// replaced. With several writers the name beside the target is one that no other process uses.
///
/// `mode` becomes the file's permissions. Throws std::system_error when any step before the rename fails; the old file
/// is then as it was.
void replaceFile(const std::filesystem::path& target, std::string_view content, mode_t mode,
                 Writers writers = Writers::One);

/// The same for what is named `name` in the folder of this descriptor, which may be one for its path only (O_PATH). No
/// link is followed: one of that name is replaced itself. `shownAs` is what a failure is said to be about.
void replaceFileIn(int folder, const std::string& name, std::string_view content, mode_t mode,
                   const std::filesystem::path& shownAs, Writers writers = Writers::One);

/// Where the chain of symbolic links that begins with this path ends, whether or not a file is there. Throws
/// std::system_error when it does not end.
[[nodiscard]] std::filesystem::path endOfLinks(const std::filesystem::path& path);

} // namespace driftwell
