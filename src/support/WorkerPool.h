#pragma once

#include "support/Completion.h"
#include "support/Task.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <type_traits>
#include <vector>

namespace driftwell {

/// The threads on which blocking work runs, as many as the machine has cores and at least two, started when they are
/// first needed. All members may be called from any thread.
///
/// Standard threads and not Qt's pool, whose hand-over of jobs and whose end are invisible to the thread sanitizer.
class WorkerPool {
public:
    /// The process's own. It ends after main() has returned.
    [[nodiscard]] static WorkerPool& shared();

    WorkerPool();
    /// Waits for the running jobs; those that wait in the queue are dropped.
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    /// Queues a job. It must not throw. Throws std::system_error when not even one thread can be started.
    void start(std::function<void()> job);

    /// The largest number of jobs that run at once.
    [[nodiscard]] std::size_t size() const { return m_size; }

    /// Nothing runs and nothing waits.
    [[nodiscard]] bool isIdle() const;

private:
    void addThread();
    void work();

    const std::size_t m_size;
    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<std::function<void()>> m_jobs;
    std::size_t m_running = 0;
    bool m_ending = false;
    std::vector<std::thread> m_threads;
};

/// Runs blocking work on the shared pool and resumes the caller with its result, or with what it threw. The work is
/// not interrupted by anything: work that can be long looks at a stop token of its own. The program's end waits for
/// running work.
template <class Work> Task<std::invoke_result_t<Work>> runOnPool(Work work) {
    using Result = std::invoke_result_t<Work>;
    Completion<Result> done;
    // Shared, since what is moved from may still hold something: a lambda's copy of a constant does.
    const auto held = std::make_shared<std::optional<Work>>(std::move(work));
    WorkerPool::shared().start([held, done] { completeWith(*held, done); });
    co_return co_await done;
}

} // namespace driftwell
