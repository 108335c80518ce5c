#pragma once

#include "apps/sandbox/SiteFiles.h"
#include "apps/sandbox/StopSignal.h"

#include <filesystem>

namespace driftwell::sandbox {

/// Unpacks a gzip-compressed tar archive into `folder`, which must exist and be empty.
///
/// Only files and folders are made, never a link, so no path in the folder can lead out of it; a member whose name
/// would lead out of it refuses the whole archive. Throws HttpError for an archive that is damaged, empty, too large or
/// unsafe, and std::system_error when the disk fails. What has been unpacked by then stays for the caller to remove.
[[nodiscard]] Unpacked unpack(const std::filesystem::path& archive, const std::filesystem::path& folder,
                              const UnpackLimits& limits, const StopSignal& stop);

} // namespace driftwell::sandbox
