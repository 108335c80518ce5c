#pragma once

#include "bench/Report.h"

namespace driftwell::bench {

/// What the command-line tool is to a terminal, and one poll of a server that runs in the background, in this process.
[[nodiscard]] std::vector<Row> measureTooling();

} // namespace driftwell::bench
