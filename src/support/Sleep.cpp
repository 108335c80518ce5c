#include "support/Sleep.h"

#include "support/Cancellation.h"
#include "support/Completion.h"
#include "support/UniqueFd.h"

#include <QSocketNotifier>
#include <QTimer>

#include <sys/timerfd.h>

#include <algorithm>
#include <memory>

namespace driftwell {

namespace {

/// An armed timer; empty when there is none to be had.
UniqueFd bootTimer(std::chrono::nanoseconds wait) {
    UniqueFd timer(::timerfd_create(CLOCK_BOOTTIME, TFD_CLOEXEC | TFD_NONBLOCK));
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(wait);
    itimerspec when{};
    when.it_value.tv_sec = seconds.count();
    when.it_value.tv_nsec = (wait - seconds).count();
    if (timer && ::timerfd_settime(timer.get(), 0, &when, nullptr) != 0) {
        timer.reset();
    }
    return timer;
}

std::unique_ptr<QSocketNotifier> notifyOf(const UniqueFd& timer, Completion<> woken) {
    auto expired = std::make_unique<QSocketNotifier>(timer.get(), QSocketNotifier::Read);
    QObject::connect(expired.get(), &QSocketNotifier::activated, expired.get(),
                     [notifier = expired.get(), woken]() mutable {
                         notifier->setEnabled(false);
                         woken.succeed();
                     });
    return expired;
}

} // namespace

Task<> sleepFor(std::chrono::milliseconds duration, std::stop_token stop) {
    throwIfCancelled(stop);

    Completion<> woken;
    // Zero would disarm the timer.
    const UniqueFd timer = bootTimer(std::max<std::chrono::nanoseconds>(duration, std::chrono::nanoseconds(1)));
    std::unique_ptr<QSocketNotifier> expired;
    // Needs no descriptor, so it can wait where a process has none left: what sleeps goes on when there are some again.
    QTimer plain;
    if (timer) {
        expired = notifyOf(timer, woken);
    } else {
        QObject::connect(&plain, &QTimer::timeout, &plain, [woken]() mutable { woken.succeed(); });
        plain.setTimerType(Qt::PreciseTimer);
        plain.start(std::max(duration, std::chrono::milliseconds(0)));
    }
    const std::stop_callback cancel(stop, [woken]() mutable { woken.fail(Cancelled()); });
    co_await woken;
}

} // namespace driftwell
