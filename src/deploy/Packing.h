#pragma once

#include "deploy/ArchiveGrowth.h"
#include "deploy/FolderScan.h"
#include "support/Task.h"

#include <filesystem>
#include <functional>
#include <stop_token>

namespace driftwell {

/// Packs the scanned files of a folder as a gzip-compressed tar archive in the ustar format (POSIX.1-1988), members
/// named and ordered as in the scan, and gives the archive's path, "site.tgz" in `workingFolder`.
///
/// The folder is not trusted: the environment that tar is given keeps a file's name from being read as an option or as
/// a pattern, keeps everything outside the folder out, and names neither this machine's accounts nor their numbers. tar
/// and what it starts may read nothing but the folder that was scanned, the list of its files and the system's programs
/// and libraries (ReadConfinement), whatever is swapped for a link meanwhile; where the kernel cannot see to that, a
/// copy is packed. In the end the archive is compared with the scan, so that what is sent is what was scanned.
///
/// `helpers` is a folder in which tar looks for the program gzip first.
///
/// The list of names that tar reads is divided by line feeds, without quoting, so a name that holds one cannot be
/// packed: tar fails, or the archive that it made of the pieces is refused here.
///
/// The format has no times before 1970 nor after 2242, and tar refuses such files. Where there is one, all files get
/// the time of the packing.
///
/// `onPacked`, where there is one, is told meanwhile how far it is, on the caller's thread.
///
/// Throws PlatformError::ofFolder, with the cause where it can be seen, std::system_error, and Cancelled after a stop,
/// which ends tar.
[[nodiscard]] Task<std::filesystem::path> packFolder(std::filesystem::path folder, FolderScan files,
                                                     std::filesystem::path workingFolder, std::filesystem::path helpers,
                                                     std::stop_token stop = {},
                                                     std::function<void(PackedSoFar)> onPacked = {});

} // namespace driftwell
