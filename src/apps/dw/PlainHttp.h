#pragma once

#include "platform/PlatformConfig.h"

#include <QString>

#include <optional>

namespace driftwell::dw {

/// What to warn of before a token goes to this platform; absent where nobody on the way can read it, since it goes by
/// https or does not leave this machine.
[[nodiscard]] std::optional<QString> plainHttpWarning(const PlatformConfig& config);

} // namespace driftwell::dw
