#include "support/TaskGroup.h"

#include "support/Cancellation.h"

#include <utility>

namespace driftwell {

TaskGroup::TaskGroup() : m_presence(std::make_shared<Presence>()) {}

TaskGroup::~TaskGroup() {
    m_stop.request_stop();
}

Task<> TaskGroup::run(Task<> task) {
    return hold(std::move(task), m_presence);
}

Task<> TaskGroup::hold(Task<> task, [[maybe_unused]] std::shared_ptr<Presence> presence) {
    try {
        co_await std::move(task);
    } catch (const Cancelled&) {
        // Whoever cancelled it knows.
    }
}

Task<> TaskGroup::end() {
    const Completion<> gone = m_presence->gone;
    m_presence.reset();
    m_stop.request_stop();
    co_await gone;
}

} // namespace driftwell
