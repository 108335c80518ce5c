#pragma once

#include "apps/dw/Commands.h"

namespace driftwell::dw {

/// "dw libs": switches a site's shared libraries as asked for, one after another, and prints all of them. Throws what
/// it fails with; the libraries before the one that failed stay switched.
[[nodiscard]] Task<ExitCode> libs(Arguments arguments, std::shared_ptr<Context> context);

} // namespace driftwell::dw
