#include "apps/sandbox/StopSignal.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <system_error>

namespace driftwell::sandbox {

StopSignal::StopSignal() : m_event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (m_event < 0) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
}

StopSignal::~StopSignal() {
    close(m_event);
}

void StopSignal::request() {
    eventfd_write(m_event, 1);
}

bool StopSignal::requested() const {
    pollfd event{.fd = m_event, .events = POLLIN, .revents = 0};
    return poll(&event, 1, 0) > 0;
}

void StopSignal::wait(std::chrono::milliseconds time) const {
    pollfd event{.fd = m_event, .events = POLLIN, .revents = 0};
    const auto limited = std::clamp<std::chrono::milliseconds::rep>(time.count(), 0, std::numeric_limits<int>::max());
    poll(&event, 1, static_cast<int>(limited));
}

} // namespace driftwell::sandbox
