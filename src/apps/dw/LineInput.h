#pragma once

#include "support/Task.h"

#include <optional>
#include <stop_token>
#include <string>

namespace driftwell::dw {

/// The next line of standard input, without its line break; absent when the input ends before one. Throws Cancelled as
/// soon as a stop is requested.
[[nodiscard]] Task<std::optional<std::string>> readLine(std::stop_token stop);

} // namespace driftwell::dw
