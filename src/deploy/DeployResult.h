#pragma once

#include "deploy/FolderScan.h"
#include "platform/Models.h"

#include <cstdint>
#include <string>

namespace driftwell {

/// How a deployment went that the platform has published.
struct DeployResult {
    DeployResponse response;
    /// What of the folder is missing on the platform because it could not be read.
    FolderScan::Unreadable unreadable;
    /// The files in the archive that was sent.
    std::int64_t sentFiles = 0;
    /// Those files, for PublishedFiles::save().
    std::string publishedFiles = {};

    bool operator==(const DeployResult&) const = default;
};

/// Whether the platform speaks of as many files, published and left out, as it was sent.
[[nodiscard]] inline bool countsAllFiles(const DeployResponse& response, std::int64_t sentFiles) {
    return response.files + response.skipped == sentFiles;
}

} // namespace driftwell
