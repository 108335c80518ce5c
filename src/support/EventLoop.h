#pragma once

#include "support/UniqueFd.h"

#include <deque>
#include <functional>
#include <memory>
#include <mutex>

class QSocketNotifier;

namespace driftwell {

/// The way back to a thread: functions posted here from any thread run one after another on the event loop of the
/// thread that the object belongs to. Functions posted to a thread that has ended are never run.
///
/// It is an eventfd (eventfd(2)) guarded by a standard mutex, not a queued Qt call, so that the thread sanitizer sees
/// every hand-over between threads.
class EventLoop {
public:
    /// The calling thread's own. The thread must run a Qt event loop for posted functions to be run. Throws
    /// std::system_error when there is no descriptor left for it; a later call tries again.
    [[nodiscard]] static std::shared_ptr<EventLoop> current();

    EventLoop();
    ~EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    /// Runs `function` on this loop's thread, later, in the order of posting. Callable from any thread.
    void post(std::function<void()> function);

private:
    void drain();

    std::mutex m_mutex;
    std::deque<std::function<void()>> m_posted;
    UniqueFd m_wake;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace driftwell
