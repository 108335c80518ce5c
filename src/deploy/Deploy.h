#pragma once

#include "deploy/DeployProgress.h"
#include "deploy/DeployResult.h"
#include "deploy/DeployStage.h"
#include "platform/PlatformConfig.h"
#include "support/Task.h"

#include <QString>

#include <filesystem>
#include <functional>
#include <stop_token>

namespace driftwell {

class PlatformClient;

/// How a deployment is stopped.
struct DeployStops {
    /// A person's cancel. One that comes while the archive is being packed takes effect when packing has ended.
    std::stop_token cancel = {};
    /// The end of the process, which interrupts packing too.
    std::stop_token end = {};
};

/// Throws PlatformError::ofFolder "folder has no deployable files" when there is none, with the folders that could not
/// be read if there are such.
void requireFiles(const FolderScan& files);

/// Publishes a folder: scans, packs and uploads it.
///
/// `site` is a valid site name. `onStage` and `onProgress` are called from any thread, several times in quick
/// succession; `onScanned` once, on the caller's thread, with what is going to be packed. Throws PlatformError,
/// std::system_error for a failure of this machine, and Cancelled; the folder is untouched and no temporary file is
/// left in every case. The client outlives the call, or the stop for the process's end is requested before it goes.
[[nodiscard]] Task<DeployResult> deploy(PlatformClient& client, std::filesystem::path folder, QString site,
                                        PlatformConfig config, std::function<void(DeployStage)> onStage,
                                        DeployStops stops, std::function<void(DeployProgress)> onProgress = {},
                                        std::function<void(const FolderScan&)> onScanned = {});

} // namespace driftwell
