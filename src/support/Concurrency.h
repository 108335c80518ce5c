#pragma once

#include "support/Cancellation.h"
#include "support/Completion.h"
#include "support/Task.h"

#include <functional>
#include <memory>
#include <stop_token>
#include <vector>

namespace driftwell {

/// Work that can be started with a stop token.
template <class T> using Job = std::function<Task<T>(std::stop_token)>;

/// A job of allOf() and what to do with its result.
template <class T> struct Step {
    Job<T> job;
    std::function<void(T)> store;
};

template <class T> [[nodiscard]] Step<T> step(Job<T> job, std::type_identity_t<std::function<void(T)>> store) {
    return {std::move(job), std::move(store)};
}

namespace detail {

/// A started job of allOf(), its type forgotten.
struct Child {
    std::function<Task<>()> storeResult;
    std::function<Task<>()> settle;
};

template <class T> Task<> storeResult(std::shared_ptr<Task<T>> task, std::function<void(T)> store) {
    store(co_await *task);
}

template <class T> Task<> settle(std::shared_ptr<Task<T>> task) {
    try {
        co_await *task;
    } catch (...) {
        // The caller reports the failure that ended the group; this one was only waited for.
    }
}

/// A job that throws before it has given its task is a task that failed.
template <class T> Task<T> enterJob(Job<T> job, std::stop_token stop) {
    co_return co_await job(std::move(stop));
}

template <class T> Child startChild(Step<T> step, std::stop_token stop) {
    auto task = std::make_shared<Task<T>>(enterJob<T>(std::move(step.job), std::move(stop)));
    return {[task, store = std::move(step.store)] { return storeResult<T>(task, store); },
            [task] {
                return settle<T>(task);
            }};
}

Task<> finishInOrder(std::vector<Child> children, std::shared_ptr<StopScope> scope);

template <class T> Task<> enterRace(Job<T> job, std::stop_token stop, Completion<T> winner, Completion<> decided) {
    try {
        if constexpr (std::is_void_v<T>) {
            co_await job(stop);
            winner.succeed();
        } else {
            winner.succeed(co_await job(stop));
        }
    } catch (...) {
        winner.fail(std::current_exception());
    }
    decided.succeed();
}

} // namespace detail

/// Starts every step's job at once, then awaits them in the order given and stores each result as it is awaited. When
/// one fails, those not yet awaited are stopped and awaited, their results dropped, and the failure is rethrown. So
/// nothing that this started is still running when it returns or throws.
template <class... T> Task<> allOf(std::stop_token stop, Step<T>... steps) {
    auto scope = std::make_shared<StopScope>(std::move(stop));
    std::vector<detail::Child> children;
    (children.push_back(detail::startChild(std::move(steps), scope->token())), ...);
    return detail::finishInOrder(std::move(children), std::move(scope));
}

/// Starts every job at once and gives the outcome, result or failure, of the one that ends first. The others are
/// stopped and awaited before it returns or throws. Throws Cancelled when there is no job.
template <class T> Task<T> race(std::vector<Job<T>> jobs, std::stop_token stop) {
    if (jobs.empty()) {
        throw Cancelled();
    }
    StopScope scope(std::move(stop));
    Completion<T> winner;
    Completion<> decided;
    std::vector<Task<>> runners;
    for (const Job<T>& job : jobs) {
        runners.push_back(detail::enterRace<T>(job, scope.token(), winner, decided));
    }
    co_await decided;
    scope.requestStop();
    for (Task<>& runner : runners) {
        co_await runner;
    }
    co_return co_await winner;
}

} // namespace driftwell
