#include "support/WorkerPool.h"

#include <QRunnable>
#include <QThreadPool>

#include <deque>
#include <mutex>

namespace driftwell::detail {

namespace {

/// Jobs wait in a queue with a standard mutex, and the pool is only told how many there are, so that the thread
/// sanitizer sees each job's hand-over.
class JobQueue final : public QRunnable {
public:
    JobQueue() { setAutoDelete(false); }

    void push(std::function<void()> job) {
        {
            const std::scoped_lock lock(m_mutex);
            m_jobs.push_back(std::move(job));
        }
        QThreadPool::globalInstance()->start(this);
    }

    void run() override {
        std::function<void()> job;
        {
            const std::scoped_lock lock(m_mutex);
            job = std::move(m_jobs.front());
            m_jobs.pop_front();
        }
        job();
    }

private:
    std::mutex m_mutex;
    std::deque<std::function<void()>> m_jobs;
};

} // namespace

void startOnPool(std::function<void()> job) {
    static JobQueue queue;
    queue.push(std::move(job));
}

} // namespace driftwell::detail
