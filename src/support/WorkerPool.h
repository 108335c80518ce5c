#pragma once

#include "support/Completion.h"
#include "support/Task.h"

#include <functional>
#include <type_traits>

namespace driftwell {

namespace detail {
/// Queues a job for Qt's thread pool.
void startOnPool(std::function<void()> job);
} // namespace detail

/// Runs blocking work on Qt's thread pool and resumes the caller with its result, or with what it threw. The work is
/// not interrupted by anything: work that can be long looks at a stop token of its own. The application's end waits
/// for running work.
template <class Work> Task<std::invoke_result_t<Work>> runOnPool(Work work) {
    using Result = std::invoke_result_t<Work>;
    Completion<Result> done;
    detail::startOnPool([work = std::move(work), done]() mutable {
        try {
            if constexpr (std::is_void_v<Result>) {
                work();
                done.succeed();
            } else {
                done.succeed(work());
            }
        } catch (...) {
            done.fail(std::current_exception());
        }
    });
    co_return co_await done;
}

} // namespace driftwell
