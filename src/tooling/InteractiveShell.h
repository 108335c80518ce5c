#pragma once

#include "support/Sleep.h"
#include "support/Task.h"

#include <chrono>
#include <filesystem>
#include <stop_token>
#include <string>
#include <vector>

namespace driftwell {

/// The search path that the person's terminals have: what their shell says when it is started as they start it. An
/// application that the desktop has started knows another one. Empty when the shell cannot be run, or has not said it
/// when `timeout` of `sleep` is over and it is ended. Throws Cancelled.
[[nodiscard]] Task<std::vector<std::string>> interactiveShellPath(std::filesystem::path shell,
                                                                  std::chrono::milliseconds timeout, Sleeper sleep,
                                                                  std::stop_token stop);

} // namespace driftwell
