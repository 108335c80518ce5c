#pragma once

#include "support/Cancellation.h"
#include "support/Completion.h"
#include "support/Task.h"

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <type_traits>

namespace driftwell {

namespace detail {

/// Starts a thread that nobody waits for. Throws std::system_error when it cannot be started, or when too many of them
/// are still running.
void startOwnThread(std::function<void()> job);

} // namespace detail

/// Runs work that may never return, reading a folder of a network that is gone for one, on a thread of its own, and
/// resumes the caller with its result or with what it threw. When a stop is requested the caller is resumed with
/// Cancelled at once; the thread is left to itself, keeps no other work waiting and not the end of the process either.
///
/// So the work looks at the stop token itself, owns everything that it uses, and uses nothing that ends with the
/// process. Throws std::system_error when the thread cannot be started.
template <class Work> Task<std::invoke_result_t<Work>> runOnOwnThread(Work work, std::stop_token stop) {
    using Result = std::invoke_result_t<Work>;
    throwIfCancelled(stop);
    Completion<Result> done;
    // Shared, since what is moved from may still hold something: a lambda's copy of a constant does.
    const auto held = std::make_shared<std::optional<Work>>(std::move(work));
    detail::startOwnThread([held, done] { completeWith(*held, done); });
    const std::stop_callback cancel(stop, [done]() mutable { done.fail(Cancelled()); });
    co_return co_await done;
}

} // namespace driftwell
