#pragma once

#include <cstdint>
#include <filesystem>
#include <stop_token>
#include <string>
#include <vector>

namespace driftwell {

/// The files of a folder that are the site. The one definition of which files count: what a person is shown, what is
/// uploaded and what is committed all come from it.
///
/// Regular files at any depth count, empty ones too. Left out, with everything inside: what begins with a dot;
/// symbolic links, never followed; a folder named "node_modules" anywhere; the folder "skills" and the file "CLAUDE.md"
/// at the top, which are written there for coding agents; pipes, sockets and devices.
struct FolderScan {
    std::int64_t fileCount = 0;
    /// Sum of the files' sizes.
    std::int64_t byteCount = 0;
    /// Relative to the folder, "/" between components, sorted by their bytes. File names are bytes, not text.
    std::vector<std::string> paths;
};

/// Reads the folder, blocking, on a few threads of its own. No file is opened. Subfolders that cannot be read are left
/// out.
///
/// Throws PlatformError::api "cannot read PATH" when the folder itself cannot be opened, std::system_error when the
/// attributes of a file cannot be read (it vanished, say), and Cancelled soon after a stop is requested.
[[nodiscard]] FolderScan scanFolder(const std::filesystem::path& folder, const std::stop_token& stop = {});

} // namespace driftwell
