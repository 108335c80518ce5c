#pragma once

#include "support/Task.h"
#include "tests/Deadline.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>

namespace driftwell::tests {

/// Runs the event loop until the condition holds. Throws when the deadline passes first.
inline void waitUntil(const std::function<bool()>& condition) {
    const auto expiry = std::chrono::steady_clock::now() + deadline;
    // What another thread or process makes true wakes no event loop. (With a time limit, processEvents() does not wait
    // but spins.)
    QTimer look;
    look.start(std::chrono::milliseconds(10));
    while (!condition()) {
        if (std::chrono::steady_clock::now() > expiry) {
            throw std::runtime_error("the condition did not come to hold in time");
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

namespace detail {

template <class T> struct Outcome {
    std::optional<T> value;
    std::exception_ptr failure;
    bool done = false;
};

template <> struct Outcome<void> {
    std::exception_ptr failure;
    bool done = false;
};

template <class T> Task<> observe(Task<T> task, std::shared_ptr<Outcome<T>> outcome) {
    try {
        if constexpr (std::is_void_v<T>) {
            co_await task;
        } else {
            outcome->value.emplace(co_await task);
        }
    } catch (...) {
        outcome->failure = std::current_exception();
    }
    outcome->done = true;
}

} // namespace detail

/// Runs the event loop until the task has ended, and gives its result or throws what it threw.
template <class T> T await(Task<T> task) {
    const auto outcome = std::make_shared<detail::Outcome<T>>();
    detail::observe<T>(std::move(task), outcome);
    waitUntil([outcome] { return outcome->done; });
    if (outcome->failure) {
        std::rethrow_exception(outcome->failure);
    }
    if constexpr (!std::is_void_v<T>) {
        return std::move(*outcome->value);
    }
}

/// Lets everything that is ready on the event loop run, so that coroutines that were ended free their frames.
inline void settle() {
    for (int i = 0; i < 10; ++i) {
        QCoreApplication::processEvents();
    }
}

} // namespace driftwell::tests
