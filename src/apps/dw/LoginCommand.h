#pragma once

#include "apps/dw/Commands.h"

namespace driftwell::dw {

/// "dw login": signs in to the platform in use, through the browser or with a token from standard input. Throws what it
/// fails with; the token that was stored before is then gone only when the browser has brought another one.
[[nodiscard]] Task<ExitCode> login(Arguments arguments, std::shared_ptr<Context> context);

} // namespace driftwell::dw
