#pragma once

#include "support/ChildProcess.h"
#include "support/Task.h"

#include <stop_token>
#include <string>

namespace driftwell {

/// Runs a program to its end and gives its standard output.
///
/// Throws PlatformError::ofFolder "NAME exited with status N" when it fails (N is the signal's number when a signal
/// ended it), NAME the last component of its path, std::system_error when it cannot be started, and Cancelled when a
/// stop ended it.
[[nodiscard]] Task<std::string> runTool(ChildProcess::Command command, std::stop_token stop = {});

} // namespace driftwell
