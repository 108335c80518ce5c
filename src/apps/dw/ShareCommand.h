#pragma once

#include "apps/dw/Commands.h"

namespace driftwell::dw {

/// "dw share": changes who may open a site as asked for, and prints who may. Throws what it fails with, and nothing is
/// changed then.
[[nodiscard]] Task<ExitCode> share(Arguments arguments, std::shared_ptr<Context> context);

} // namespace driftwell::dw
