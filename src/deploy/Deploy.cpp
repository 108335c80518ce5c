#include "deploy/Deploy.h"

#include "deploy/FolderScan.h"
#include "deploy/Packing.h"
#include "platform/PlatformClient.h"
#include "platform/PlatformError.h"
#include "support/Cancellation.h"
#include "support/TemporaryFolder.h"
#include "support/WorkerPool.h"

namespace driftwell {

// After an await, a client that may be gone is touched only once neither stop was requested.
Task<DeployResponse> deploy(PlatformClient& client, std::filesystem::path folder, QString site, PlatformConfig config,
                            std::function<void(DeployStage)> onStage, DeployStops stops) {
    const StopScope either(stops.cancel, stops.end);
    const std::filesystem::path helpers = client.helpers();
    onStage(DeployStage::packing());
    const auto scanWork = [folder, stop = either.token()] {
        return scanFolder(folder, stop);
    };
    FolderScan files = co_await runOnPool(scanWork);
    if (files.fileCount < 1) {
        throw PlatformError::api(QStringLiteral("folder has no deployable files"));
    }

    const TemporaryFolder working("dw-deploy-");
    const std::filesystem::path archive =
        co_await packFolder(folder, std::move(files), working.path(), helpers, stops.end);
    throwIfCancelled(either.token());

    onStage(DeployStage::uploading(0));
    FileBody body{archive, [onStage](std::int64_t sent, std::int64_t total) {
                      if (const std::optional<double> fraction = uploadFraction(sent, total)) {
                          onStage(DeployStage::uploading(*fraction));
                      }
                  }};
    co_return co_await client.upload(std::move(body), site, config, either.token());
}

} // namespace driftwell
