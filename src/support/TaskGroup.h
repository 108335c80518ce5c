#pragma once

#include "support/Completion.h"
#include "support/Task.h"

#include <memory>

namespace driftwell {

/// Tasks that run on their own, as detach() lets them, and whose end can be awaited all the same. The group ends none
/// of them: a stop token that they were given does.
class TaskGroup {
public:
    TaskGroup();

    /// Starts a task of the group. It may outlive the group.
    void run(Task<> task);

    /// Resumes when every task of the group has ended. No other is added meanwhile or later.
    Task<> ended();

private:
    /// Held by each task of the group.
    struct Presence {
        ~Presence() { gone.succeed(); }
        Completion<> gone;
    };
    static Task<> hold(Task<> task, std::shared_ptr<Presence> presence);

    std::shared_ptr<Presence> m_presence;
};

} // namespace driftwell
