#include "support/WorkerPool.h"

#include <algorithm>
#include <system_error>

namespace driftwell {

WorkerPool& WorkerPool::shared() {
    static WorkerPool pool;
    return pool;
}

WorkerPool::WorkerPool() : m_size(std::max<std::size_t>(2, std::thread::hardware_concurrency())) {}

WorkerPool::~WorkerPool() {
    {
        const std::scoped_lock lock(m_mutex);
        m_ending = true;
    }
    m_wake.notify_all();
    for (std::thread& thread : m_threads) {
        thread.join();
    }
}

void WorkerPool::start(std::function<void()> job) {
    {
        const std::scoped_lock lock(m_mutex);
        m_jobs.push_back(std::move(job));
        const bool allAreBusy = m_running + m_jobs.size() > m_threads.size();
        if (allAreBusy && m_threads.size() < m_size) {
            addThread();
        }
    }
    m_wake.notify_one();
}

void WorkerPool::addThread() {
    try {
        m_threads.emplace_back([this] { work(); });
    } catch (const std::system_error&) {
        if (m_threads.empty()) {
            m_jobs.pop_back();
            throw;
        }
        // The threads that there are will come to the job.
    }
}

bool WorkerPool::isIdle() const {
    const std::scoped_lock lock(m_mutex);
    return m_running == 0 && m_jobs.empty();
}

void WorkerPool::work() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_ending || !m_jobs.empty(); });
        if (m_ending) {
            return;
        }
        std::function<void()> job = std::move(m_jobs.front());
        m_jobs.pop_front();
        ++m_running;
        lock.unlock();
        job();
        job = nullptr; // what it holds goes before it counts as done
        lock.lock();
        --m_running;
    }
}

} // namespace driftwell
