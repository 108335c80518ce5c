#pragma once

#include "deploy/FolderScan.h"

#include <filesystem>
#include <stop_token>

namespace driftwell {

/// Copies the files of a scan from the folder to a new folder `target`, each opened beneath the folder without
/// following links, with its permissions and its time. So what is packed then is what the scan has judged, where
/// nothing else keeps tar within the folder. `root` is a descriptor of the folder. Blocking.
///
/// Throws PlatformError::ofFolder, which names a file that is not any more what it was in the scan, std::system_error,
/// and Cancelled.
void copyStaged(int root, const FolderScan& files, const std::filesystem::path& target, const std::stop_token& stop);

} // namespace driftwell
