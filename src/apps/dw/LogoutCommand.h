#pragma once

#include "apps/dw/Commands.h"

namespace driftwell::dw {

/// "dw logout": forgets the token of the platform in use. Throws what it fails with.
[[nodiscard]] ExitCode logout(const Context& context);

} // namespace driftwell::dw
