#pragma once

#include "apps/dw/Commands.h"

namespace driftwell::dw {

/// "dw open": opens a site in the browser and prints its address. Like all commands it throws what it fails with.
[[nodiscard]] Task<ExitCode> open(Arguments arguments, std::shared_ptr<Context> context);

/// "dw rollback": swaps a site's two versions and prints its address.
[[nodiscard]] Task<ExitCode> rollback(Arguments arguments, std::shared_ptr<Context> context);

/// "dw delete": deletes a site for good once its name was given a second time.
[[nodiscard]] Task<ExitCode> deleteSite(Arguments arguments, std::shared_ptr<Context> context);

} // namespace driftwell::dw
