#pragma once

#include "apps/sandbox/StopSignal.h"

#include <cstdint>
#include <filesystem>

namespace driftwell::sandbox {

struct UnpackLimits {
    std::uint64_t bytes = std::uint64_t{8} << 30U;
    std::uint64_t files = 500'000;
};

struct Unpacked {
    std::uint64_t files = 0;
    std::uint64_t bytes = 0;
    /// Members that were left out because they are neither files nor folders: links, devices, pipes.
    std::uint64_t skipped = 0;
};

/// Unpacks a gzip-compressed tar archive into `folder`, which must exist and be empty.
///
/// Only files and folders are made, never a link, so no path in the folder can lead out of it; a member whose name
/// would lead out of it refuses the whole archive. Throws HttpError for an archive that is damaged, empty, too large or
/// unsafe, and std::system_error when the disk fails. What has been unpacked by then stays for the caller to remove.
[[nodiscard]] Unpacked unpack(const std::filesystem::path& archive, const std::filesystem::path& folder,
                              const UnpackLimits& limits, const StopSignal& stop);

} // namespace driftwell::sandbox
