#pragma once

#include "support/Cancellation.h"
#include "support/Completion.h"
#include "support/Task.h"

#include <stop_token>
#include <type_traits>
#include <utility>

namespace driftwell {

namespace detail {

template <class T> Task<> forward(Task<T> task, Completion<T> outcome) {
    try {
        if constexpr (std::is_void_v<T>) {
            co_await std::move(task);
            outcome.succeed();
        } else {
            outcome.succeed(co_await std::move(task));
        }
    } catch (...) {
        outcome.fail(std::current_exception());
    }
}

} // namespace detail

/// Awaits what may never come to an end and cannot be ended, a person's answer for one. A stop throws Cancelled at once
/// and leaves the task to itself.
template <class T> Task<T> unlessStopped(Task<T> task, std::stop_token stop) {
    Completion<T> outcome;
    const std::stop_callback leave(stop, [outcome]() mutable { outcome.fail(Cancelled()); });
    detach(detail::forward(std::move(task), outcome));
    co_return co_await outcome;
}

} // namespace driftwell
