#pragma once

#include <filesystem>

namespace driftwell {

class DesktopServices;

/// The system's git, the only one that is used: the search path is not consulted.
namespace Git {

inline constexpr const char* executable = "/usr/bin/git";

/// Whether git can be used: the program is there and says its version. Any failure to find out is a no. Blocks the
/// calling thread for the time of a short process, 5 seconds at most; may be called from any thread.
[[nodiscard]] bool toolsInstalled(const std::filesystem::path& program = executable);

/// Has the desktop offer to install git. Returns at once, and nothing tells what became of it: ask toolsInstalled().
void promptInstall(DesktopServices& desktop);

} // namespace Git

} // namespace driftwell
