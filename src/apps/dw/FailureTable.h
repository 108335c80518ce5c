#pragma once

#include "apps/dw/CommandFailure.h"
#include "apps/dw/JsonTable.h"

namespace driftwell::dw {

/// The object of every command that fails.
[[nodiscard]] const JsonTable<CommandFailure>& failureTable();

} // namespace driftwell::dw
