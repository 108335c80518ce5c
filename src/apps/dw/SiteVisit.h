#pragma once

#include "platform/PlatformClient.h"

#include <QString>

namespace driftwell::dw {

/// What a site's address answers, as a sentence: "It answers well (200)."
[[nodiscard]] QString answerText(const PlatformClient::SiteAnswer& answer);

/// Whether there is a page at the address, or a way to sign in to see it.
[[nodiscard]] bool answersWell(const PlatformClient::SiteAnswer& answer);

} // namespace driftwell::dw
