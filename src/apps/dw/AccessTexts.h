#pragma once

#include "platform/Models.h"

#include <QString>

namespace driftwell::dw {

/// Who can open a site, as a sentence: "Only maya@example.org (its owner) and ann@example.org can open it."
[[nodiscard]] QString whoCanOpen(const SiteAccess& access);

} // namespace driftwell::dw
