#pragma once

#include <filesystem>
#include <stop_token>

namespace driftwell {

/// Copies the files of `from` that are the site (FolderScan.h) over those of `into`, a folder with version control,
/// with their permissions and times. What `into` has beside them stays. Blocking.
///
/// All are copied into a folder within `into/.git` first and moved from there, so a full disk or a file that cannot be
/// read leaves `into` as it was, and no file there is ever half a file. No link within `into` is followed, and no
/// folder there is replaced by a file.
///
/// Throws PlatformError::ofFolder when there is no such file or one changes meanwhile, std::system_error, which names
/// the place, and Cancelled.
void copyDeployableFiles(const std::filesystem::path& from, const std::filesystem::path& into,
                         const std::stop_token& stop);

} // namespace driftwell
