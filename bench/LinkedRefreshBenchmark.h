#pragma once

#include "bench/Report.h"

namespace driftwell::bench {

/// A refresh of a model with 20 linked folders, in this process, against a shell that runs the same git commands.
[[nodiscard]] std::vector<Row> measureLinkedRefresh();

} // namespace driftwell::bench
