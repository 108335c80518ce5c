#include "deploy/Deploy.h"

#include "deploy/FolderScan.h"
#include "deploy/Packing.h"
#include "deploy/PublishedFiles.h"
#include "deploy/WorkingFolder.h"
#include "platform/PlatformClient.h"
#include "platform/PlatformError.h"
#include "support/Cancellation.h"
#include "support/OwnThread.h"

namespace driftwell {

namespace {

/// What is published and where.
struct Publication {
    std::filesystem::path folder;
    FolderScan files;
    QString site;
    PlatformConfig config;
    std::function<void(DeployStage)> onStage;
    std::function<void(DeployProgress)> onProgress;
};

Task<DeployResponse> packAndSend(PlatformClient& client, Publication publication, std::filesystem::path workingFolder,
                                 DeployStops stops) {
    const StopScope either(stops.cancel, stops.end);
    std::function<void(PackedSoFar)> onPacked;
    if (publication.onProgress) {
        onPacked = [onProgress = publication.onProgress, files = publication.files.fileCount](PackedSoFar packed) {
            onProgress({.packedFiles = packed.files, .filesToPack = files, .archiveBytes = packed.bytes});
        };
    }
    const std::filesystem::path archive =
        co_await packFolder(publication.folder, std::move(publication.files), workingFolder, client.helpers(),
                            stops.end, std::move(onPacked));
    throwIfCancelled(either.token());

    const std::function<void(DeployStage)> onStage = publication.onStage;
    onStage(DeployStage::uploading(0));
    FileBody body{archive, [onStage, onProgress = publication.onProgress](std::int64_t sent, std::int64_t total) {
                      if (onProgress) {
                          onProgress({.archiveBytes = total, .sentBytes = sent});
                      }
                      if (const std::optional<double> fraction = uploadFraction(sent, total)) {
                          onStage(DeployStage::uploading(*fraction));
                      }
                  }};
    co_return co_await client.upload(std::move(body), publication.site, publication.config, either.token());
}

} // namespace

void requireFiles(const FolderScan& files) {
    if (files.fileCount < 1) {
        const QString why = files.unreadable.text();
        throw PlatformError::ofFolder(QStringLiteral("folder has no deployable files") +
                                      (why.isEmpty() ? why : QStringLiteral(" — ") + why))
            .with(PlatformErrorReason::EmptyFolder);
    }
}

// After an await, a client that may be gone is touched only once neither stop was requested.
Task<DeployResult> deploy(PlatformClient& client, std::filesystem::path folder, QString site, PlatformConfig config,
                          std::function<void(DeployStage)> onStage, DeployStops stops,
                          std::function<void(DeployProgress)> onProgress,
                          std::function<void(const FolderScan&)> onScanned) {
    const StopScope either(stops.cancel, stops.end);
    onStage(DeployStage::packing());
    const auto scanWork = [folder, stop = either.token()] {
        FolderScan files = FolderScan::scan(folder, stop);
        std::string text = PublishedFiles::textOf(files);
        return std::pair(std::move(files), std::move(text));
    };
    auto [files, text] = co_await runOnOwnThread(scanWork, either.token());
    if (onScanned) {
        onScanned(files);
    }
    requireFiles(files);
    DeployResult result{{}, files.unreadable, files.fileCount, std::move(text)};
    Publication publication{folder, std::move(files), site, config, onStage, std::move(onProgress)};
    const WorkInFolder<DeployResponse> publishWork = [&](const std::filesystem::path& workingFolder) {
        throwIfCancelled(either.token());
        return packAndSend(client, std::move(publication), workingFolder, stops);
    };
    result.response = co_await inWorkingFolder(publishWork);
    co_return result;
}

} // namespace driftwell
