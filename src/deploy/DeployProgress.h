#pragma once

#include <cstdint>

namespace driftwell {

/// The figures within a stage of a running deployment, as far as they are known; 0 where they are not.
struct DeployProgress {
    std::int64_t packedFiles = 0;
    std::int64_t filesToPack = 0;
    /// Of the archive, while it grows and when it is whole.
    std::int64_t archiveBytes = 0;
    std::int64_t sentBytes = 0;

    bool operator==(const DeployProgress&) const = default;
};

} // namespace driftwell
