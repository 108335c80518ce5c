#pragma once

#include "support/Completion.h"
#include "support/Task.h"

#include <memory>
#include <stop_token>

namespace driftwell {

/// What one object has started: tasks that run on their own, as detach() lets them, that whoever started them may
/// await, and that end together. Each is given the group's stop token, or one that follows it, and ends soon after a
/// stop.
class TaskGroup {
public:
    TaskGroup();
    /// Requests the stop and waits for nothing: tasks may outlive the group.
    ~TaskGroup();
    TaskGroup(const TaskGroup&) = delete;
    TaskGroup& operator=(const TaskGroup&) = delete;

    /// Requested when the group ends.
    [[nodiscard]] std::stop_token token() const { return m_stop.get_token(); }

    /// Takes a task into the group. What is returned ends with it, and may be dropped; it ends well when the task was
    /// cancelled, and throws what else the task throws.
    Task<> run(Task<> task);

    /// Requests the stop and resumes when every task of the group has ended. Called once; no task is added afterwards.
    Task<> end();

private:
    /// Held by each task of the group.
    struct Presence {
        ~Presence() { gone.succeed(); }
        Completion<> gone;
    };
    static Task<> hold(Task<> task, std::shared_ptr<Presence> presence);

    std::stop_source m_stop;
    std::shared_ptr<Presence> m_presence;
};

} // namespace driftwell
