#pragma once

#include "bench/Report.h"

namespace driftwell::bench {

/// Publishing a linked folder against the commands that a person would type, over loopback, in this process.
[[nodiscard]] std::vector<Row> measureCollab();

} // namespace driftwell::bench
