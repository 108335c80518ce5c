#include "support/EventLoop.h"

#include "support/SystemError.h"

#include <QSocketNotifier>

#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>

namespace driftwell {

std::shared_ptr<EventLoop> EventLoop::current() {
    thread_local const auto loop = std::make_shared<EventLoop>();
    return loop;
}

EventLoop::EventLoop() : m_wake(checked(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")) {
    m_notifier = std::make_unique<QSocketNotifier>(m_wake.get(), QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(), [this] { drain(); });
}

EventLoop::~EventLoop() = default;

void EventLoop::post(std::function<void()> function) {
    const std::scoped_lock lock(m_mutex);
    m_posted.push_back(std::move(function));
    const std::uint64_t one = 1;
    // A full counter means that the loop is already awake.
    [[maybe_unused]] const auto written = ::write(m_wake.get(), &one, sizeof one);
}

void EventLoop::drain() {
    // The eventfd stays readable until the queue is empty, so that an event loop nested in one of the functions goes on
    // with the rest of the queue.
    for (;;) {
        std::function<void()> next;
        {
            const std::scoped_lock lock(m_mutex);
            if (m_posted.empty()) {
                std::uint64_t count = 0;
                [[maybe_unused]] const auto read = ::read(m_wake.get(), &count, sizeof count);
                return;
            }
            next = std::move(m_posted.front());
            m_posted.pop_front();
        }
        next();
    }
}

} // namespace driftwell
