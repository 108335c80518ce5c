#include "support/Sleep.h"

#include "support/Cancellation.h"
#include "support/Completion.h"
#include "support/SystemError.h"
#include "support/UniqueFd.h"

#include <QSocketNotifier>

#include <sys/timerfd.h>

#include <algorithm>

namespace driftwell {

Task<> sleepFor(std::chrono::milliseconds duration, std::stop_token stop) {
    throwIfCancelled(stop);

    const UniqueFd timer(checked(::timerfd_create(CLOCK_BOOTTIME, TFD_CLOEXEC | TFD_NONBLOCK), "timerfd_create"));
    // Zero would disarm the timer.
    const auto wait = std::max<std::chrono::nanoseconds>(duration, std::chrono::nanoseconds(1));
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(wait);
    itimerspec when{};
    when.it_value.tv_sec = seconds.count();
    when.it_value.tv_nsec = (wait - seconds).count();
    checked(::timerfd_settime(timer.get(), 0, &when, nullptr), "timerfd_settime");

    Completion<> woken;
    QSocketNotifier expired(timer.get(), QSocketNotifier::Read);
    QObject::connect(&expired, &QSocketNotifier::activated, &expired, [&expired, woken]() mutable {
        expired.setEnabled(false);
        woken.succeed();
    });
    const std::stop_callback cancel(stop, [woken]() mutable { woken.fail(Cancelled()); });
    co_await woken;
}

} // namespace driftwell
