#include "support/Cancellation.h"

namespace driftwell {

const char* Cancelled::what() const noexcept {
    return "cancelled";
}

void throwIfCancelled(const std::stop_token& stop) {
    if (stop.stop_requested()) {
        throw Cancelled();
    }
}

StopScope::StopScope(std::stop_token parent, std::stop_token otherParent)
    : m_link(std::move(parent), [own = m_own]() mutable { own.request_stop(); }),
      m_otherLink(std::move(otherParent), [own = m_own]() mutable { own.request_stop(); }) {}

} // namespace driftwell
