#include "deploy/DeployResult.h"
#include "deploy/DeployStage.h"
#include "deploy/FolderScan.h"
#include "deploy/Packing.h"
#include "deploy/WorkingFolder.h"
#include "platform/PlatformClient.h"
#include "platform/PlatformError.h"
#include "support/Cancellation.h"
#include "support/OwnThread.h"

namespace driftwell {

// The way of a folder to the platform: scan, pack, upload. The caller requests the stop before the client goes, so that
// nothing after an await here touches a client that is gone.
Task<DeployResult> PlatformClient::deploy(std::filesystem::path folder, QString site, PlatformConfig config,
                                          std::function<void(DeployStage)> onStage, std::stop_token stop) {
    onStage(DeployStage::packing());
    const auto scanWork = [folder, stop] {
        return scanFolder(folder, stop);
    };
    FolderScan files = co_await runOnOwnThread(scanWork, stop);
    if (files.fileCount < 1) {
        throw PlatformError::api(QStringLiteral("folder has no deployable files"));
    }
    DeployResult result{{}, files.unreadable, files.fileCount};
    const WorkInFolder<DeployResponse> publishWork = [&](const std::filesystem::path& workingFolder) {
        return packAndSend(folder, std::move(files), workingFolder, site, config, onStage, stop);
    };
    result.response = co_await inWorkingFolder(publishWork);
    co_return result;
}

Task<DeployResponse> PlatformClient::packAndSend(std::filesystem::path folder, FolderScan files,
                                                 std::filesystem::path workingFolder, QString site,
                                                 PlatformConfig config, std::function<void(DeployStage)> onStage,
                                                 std::stop_token stop) {
    const std::filesystem::path archive =
        co_await packFolder(folder, std::move(files), workingFolder, m_bundle.helpers());
    throwIfCancelled(stop);

    onStage(DeployStage::uploading(0));
    FileBody body{archive, [onStage](std::int64_t sent, std::int64_t total) {
                      if (const std::optional<double> fraction = uploadFraction(sent, total)) {
                          onStage(DeployStage::uploading(*fraction));
                      }
                  }};
    co_return co_await sendArchive(std::move(body), site, config, stop);
}

} // namespace driftwell
