#pragma once

#include "apps/dw/Commands.h"

namespace driftwell::dw {

/// "dw deploy": publishes a folder through the application's model and prints the site's address. Throws what it fails
/// with. When it is stopped, nothing that it started is left once it ends.
[[nodiscard]] Task<ExitCode> deploy(Arguments arguments, std::shared_ptr<Context> context);

} // namespace driftwell::dw
