#include "support/TaskGroup.h"

#include <utility>

namespace driftwell {

TaskGroup::TaskGroup() : m_presence(std::make_shared<Presence>()) {}

void TaskGroup::run(Task<> task) {
    detach(hold(std::move(task), m_presence));
}

Task<> TaskGroup::hold(Task<> task, [[maybe_unused]] std::shared_ptr<Presence> presence) {
    co_await std::move(task);
}

Task<> TaskGroup::ended() {
    const Completion<> gone = m_presence->gone;
    m_presence.reset();
    co_await gone;
}

} // namespace driftwell
