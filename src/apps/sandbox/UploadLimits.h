#pragma once

#include "apps/sandbox/SiteFiles.h"

#include <cstdint>

namespace driftwell::sandbox {

/// How much is taken at once, in bytes: of what is sent, an archive or a push, and of the files in it.
struct UploadLimits {
    std::uint64_t upload = std::uint64_t{4} << 30U;
    UnpackLimits unpacked;
};

} // namespace driftwell::sandbox
