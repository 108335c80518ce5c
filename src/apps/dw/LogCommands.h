#pragma once

#include "apps/dw/Commands.h"

namespace driftwell::dw {

/// "dw logs": prints a site's recent activity, the latest first. Also of a site that was deleted, where the platform
/// keeps that. Throws what it fails with.
[[nodiscard]] Task<ExitCode> logs(Arguments arguments, std::shared_ptr<Context> context);

/// "dw history": prints a site's deployments and rollbacks, the latest first.
[[nodiscard]] Task<ExitCode> history(Arguments arguments, std::shared_ptr<Context> context);

} // namespace driftwell::dw
