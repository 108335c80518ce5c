#pragma once

#include "support/Task.h"

#include <optional>
#include <stop_token>
#include <string>

namespace driftwell::dw {

/// Waits until standard input has something to read, or has ended. Throws Cancelled as soon as a stop is requested.
[[nodiscard]] Task<> awaitInput(std::stop_token stop);

/// The next line of standard input, without its line break; absent when the input ends before one. Throws Cancelled as
/// soon as a stop is requested.
[[nodiscard]] Task<std::optional<std::string>> readLine(std::stop_token stop);

} // namespace driftwell::dw
