#include "apps/dw/SiteCheck.h"

#include "platform/PlatformError.h"

#include <algorithm>

namespace driftwell::dw {

Task<SiteCheck> askUntilItAnswers(std::function<Task<PlatformClient::SiteAnswer>(std::stop_token)> visit, Sleeper sleep,
                                  std::stop_token stop) {
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::milliseconds firstPause{500};
    constexpr std::chrono::milliseconds longestPause{5000};

    const Clock::time_point begun = Clock::now();
    std::chrono::milliseconds waited{0};
    SiteCheck check;
    for (std::chrono::milliseconds pause = firstPause;; pause = std::min(2 * pause, longestPause)) {
        try {
            check.answer = co_await visit(stop);
            check.text = answerText(*check.answer);
        } catch (const PlatformError& failure) {
            check.answer = std::nullopt;
            check.text = failure.description();
        }
        check.duration = std::chrono::floor<std::chrono::milliseconds>(Clock::now() - begun);
        if (check.isWell() || waited + pause > checkTime || check.duration >= checkTime) {
            co_return check;
        }
        co_await sleep(pause, stop);
        waited += pause;
    }
}

} // namespace driftwell::dw
