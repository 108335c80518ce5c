#pragma once

#include "apps/dw/CommandTree.h"

#include <string>

namespace driftwell::dw {

/// What the commands print with --json, as a JSON Schema (https://json-schema.org/draft/2020-12/schema): under "$defs"
/// the objects of each command by its name, and "failure" for all that fail.
[[nodiscard]] std::string jsonSchemaDocument(const ProgramRecord& program);

} // namespace driftwell::dw
