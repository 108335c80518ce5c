#pragma once

#include "apps/dw/CommandTree.h"

#include <string>

namespace driftwell::dw {

/// The page docs/dw-reference.md, in Markdown, which a test compares with it.
[[nodiscard]] std::string referencePage(const ProgramRecord& program);

} // namespace driftwell::dw
