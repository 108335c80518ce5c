#pragma once

#include "support/Task.h"

#include <exception>
#include <optional>
#include <utility>

namespace driftwell {

/// The results of two tasks that are under way, once both have ended, also where one of them fails. Throws what the
/// first has thrown, else what the second has.
template <class One, class Other> Task<std::pair<One, Other>> both(Task<One> first, Task<Other> second) {
    std::exception_ptr failure;
    std::optional<One> one;
    try {
        one.emplace(co_await std::move(first));
    } catch (...) {
        failure = std::current_exception();
    }
    std::optional<Other> other;
    try {
        other.emplace(co_await std::move(second));
    } catch (...) {
        failure = failure ? failure : std::current_exception();
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
    std::pair<One, Other> results(std::move(*one), std::move(*other));
    co_return results;
}

} // namespace driftwell
