#pragma once

#include <filesystem>

namespace driftwell {

/// The folder for sockets and locks of the person's running programs, made if it is missing: "driftwell" in
/// XDG_RUNTIME_DIR (XDG Base Directory), or where that is not a folder of the person's own,
/// "driftwell-UID" in the system's temporary folder, or where another account has taken that name, "driftwell-runtime"
/// in XDG_CACHE_HOME, usually "~/.cache". Nobody else can enter it. Throws std::system_error when there is no such
/// folder to be had.
[[nodiscard]] std::filesystem::path runtimeFolder();

} // namespace driftwell
