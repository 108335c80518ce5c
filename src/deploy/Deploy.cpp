#include "deploy/DeployStage.h"
#include "deploy/FolderScan.h"
#include "deploy/Packing.h"
#include "platform/PlatformClient.h"
#include "platform/PlatformError.h"
#include "support/Cancellation.h"
#include "support/TemporaryFolder.h"
#include "support/WorkerPool.h"

namespace driftwell {

// The way of a folder to the platform: scan, pack, upload. The caller requests the stop before the client goes, so that
// nothing after an await here touches a client that is gone.
Task<DeployResponse> PlatformClient::deploy(std::filesystem::path folder, QString site, PlatformConfig config,
                                            std::function<void(DeployStage)> onStage, std::stop_token stop) {
    const std::filesystem::path helpers = m_bundle.helpers();
    onStage(DeployStage::packing());
    const auto scanWork = [folder, stop] {
        return scanFolder(folder, stop);
    };
    FolderScan files = co_await runOnPool(scanWork);
    if (files.fileCount < 1) {
        throw PlatformError::api(QStringLiteral("folder has no deployable files"));
    }

    const TemporaryFolder working("dw-deploy-");
    const std::filesystem::path archive = co_await packFolder(folder, std::move(files), working.path(), helpers);
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
