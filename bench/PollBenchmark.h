#pragma once

#include "bench/Report.h"

namespace driftwell::bench {

/// A refresh of a model with 10,000 sites, its answer unchanged and changed, in this process.
[[nodiscard]] std::vector<Row> measurePolls();

} // namespace driftwell::bench
