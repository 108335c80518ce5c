#pragma once

#include "support/ChildProcess.h"
#include "support/Task.h"

#include <string>

namespace driftwell {

/// Runs a program to its end and gives its standard output. It is not ended by anything.
///
/// Throws PlatformError::api "NAME exited with status N" when it fails (N is the signal's number when a signal ended
/// it), NAME the last component of its path, and std::system_error when it cannot be started.
[[nodiscard]] Task<std::string> runTool(ChildProcess::Command command);

} // namespace driftwell
