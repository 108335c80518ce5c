#pragma once

#include "apps/dw/CommandTree.h"

#include <string>

namespace driftwell::dw {

/// The manual page, for man(1), in the macros of man(7).
[[nodiscard]] std::string manualPage(const ProgramRecord& program);

} // namespace driftwell::dw
