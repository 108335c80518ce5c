#pragma once

#include "apps/dw/CommandTree.h"

#include <string>

/// What is said of the fields of an object that --json prints.
namespace driftwell::dw {

/// "text", "list of objects", "text or null", "text, may be missing".
[[nodiscard]] std::string typeText(const JsonField& field);

/// What it means, with the values that it has, if these are all: "what happened: `deploy` or `rollback`".
[[nodiscard]] std::string meaningText(const JsonField& field);

} // namespace driftwell::dw
