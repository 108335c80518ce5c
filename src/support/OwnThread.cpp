#include "support/OwnThread.h"

#include <atomic>
#include <system_error>
#include <thread>

namespace driftwell::detail {

namespace {

// Who keeps on opening a folder that hangs is told so in the end.
constexpr int mostThreads = 64;

/// Trivial to destroy, so that a thread that ends late still finds it.
constinit std::atomic<int> running = 0;

} // namespace

void startOwnThread(std::function<void()> job) {
    if (++running > mostThreads) {
        --running;
        throw std::system_error(EAGAIN, std::generic_category(), "too many folders do not answer");
    }
    try {
        std::thread([job = std::move(job)]() mutable {
            job();
            job = nullptr; // what it holds goes before it counts as done
            --running;
        }).detach();
    } catch (...) {
        --running;
        throw;
    }
}

} // namespace driftwell::detail
