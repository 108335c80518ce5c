#pragma once

#include <QSettings>

namespace driftwell {

/// Whether the introduction is to be shown: until it has been gone through once, and whenever the variable
/// DW_ONBOARDING is "1".
[[nodiscard]] bool wantsOnboarding(const QSettings& defaults);

} // namespace driftwell
