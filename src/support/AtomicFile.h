#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string_view>

namespace driftwell {

/// Replaces a file as a whole: a reader sees the old content or the new, never a part, also after a crash or on a full
/// disk. The new content is written beside the target under the name ".NAME.new", flushed, and renamed over it
/// (rename(2)); then the folder is flushed. A target that is a symbolic link stays one, and the file it leads to is
/// replaced.
///
/// The caller is the only writer of this file for the time of the call, by a lock or because the folder is its own.
/// `mode` becomes the file's permissions. Throws std::system_error when any step before the rename fails; the old file
/// is then as it was.
void replaceFile(const std::filesystem::path& target, std::string_view content, mode_t mode);

} // namespace driftwell
