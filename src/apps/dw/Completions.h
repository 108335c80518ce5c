#pragma once

#include <string>
#include <string_view>

namespace driftwell::dw {

/// The completion script for "bash", "zsh" or "fish"; empty for another shell.
[[nodiscard]] std::string completionScript(std::string_view shell);

} // namespace driftwell::dw
