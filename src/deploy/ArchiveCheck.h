#pragma once

#include "deploy/FolderScan.h"

#include <filesystem>
#include <stop_token>

namespace driftwell {

/// Whether the files in the archive carry their own times.
enum class ArchivedTimes { OfTheFiles, OfThePacking };

/// Sees that an archive holds the files of the scan, all of them, in their order, as they were then, and nothing else.
/// What it holds is read from `record`, the compressor's own account of it, or from the archive itself where the
/// compressor wrote none. Blocking.
///
/// Throws PlatformError::ofFolder, which names what differs, std::system_error, and Cancelled.
void checkArchive(const std::filesystem::path& archive, const std::filesystem::path& record, const FolderScan& files,
                  ArchivedTimes times, const std::stop_token& stop);

} // namespace driftwell
