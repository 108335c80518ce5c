#pragma once

#include "apps/dw/SiteVisit.h"
#include "support/Sleep.h"
#include "support/Task.h"

#include <chrono>
#include <functional>
#include <optional>
#include <stop_token>

namespace driftwell::dw {

/// What has come of asking a site's address.
struct SiteCheck {
    /// The last answer; absent when none came.
    std::optional<PlatformClient::SiteAnswer> answer = {};
    /// The same as a sentence, or why none came.
    QString text = {};
    /// From the first question to the last answer.
    std::chrono::milliseconds duration{0};

    [[nodiscard]] bool isWell() const { return answer && answersWell(*answer); }
};

/// For how long at most an address is asked, not counting the last answer's own time.
inline constexpr std::chrono::seconds checkTime{60};

/// Asks with `visit`, again and again with growing pauses, until the address answers well or the time is over. Throws
/// Cancelled, and what `visit` throws beside PlatformError.
[[nodiscard]] Task<SiteCheck> askUntilItAnswers(std::function<Task<PlatformClient::SiteAnswer>(std::stop_token)> visit,
                                                Sleeper sleep, std::stop_token stop);

} // namespace driftwell::dw
