#pragma once

#include "support/WorkerPool.h"

#include <condition_variable>
#include <memory>
#include <mutex>

namespace driftwell::tests {

/// Keeps every thread of the pool busy while it lives: work that is handed to the pool meanwhile does not begin.
class PoolHold {
public:
    PoolHold() {
        for (std::size_t i = 0; i < WorkerPool::shared().size(); ++i) {
            WorkerPool::shared().start([gate = m_gate] {
                std::unique_lock lock(gate->mutex);
                gate->opened.wait(lock, [&gate] { return gate->isOpen; });
            });
        }
    }
    ~PoolHold() { release(); }
    PoolHold(const PoolHold&) = delete;
    PoolHold& operator=(const PoolHold&) = delete;

    void release() {
        const std::scoped_lock lock(m_gate->mutex);
        m_gate->isOpen = true;
        m_gate->opened.notify_all();
    }

private:
    struct Gate {
        std::mutex mutex;
        std::condition_variable opened;
        bool isOpen = false;
    };

    std::shared_ptr<Gate> m_gate = std::make_shared<Gate>();
};

} // namespace driftwell::tests
