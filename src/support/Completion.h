#pragma once

#include "support/EventLoop.h"

#include <concepts>
#include <coroutine>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <type_traits>
#include <utility>
#include <variant>

namespace driftwell {

/// One result that is decided once, from any thread, and awaited by at most one coroutine. A bridge from callbacks,
/// threads and descriptors to `co_await`: the coroutine resumes on the event loop of the thread on which it awaited,
/// always later, never inside the call that decided.
///
/// Copies share the result, so a copy can be captured by whoever will decide it.
template <class T = void> class Completion {
    using Value = std::conditional_t<std::is_void_v<T>, std::monostate, T>;

    struct State {
        std::mutex mutex;
        std::variant<std::monostate, std::exception_ptr, std::unique_ptr<Value>> outcome;
        std::coroutine_handle<> waiter;
        std::shared_ptr<EventLoop> loop;
    };

public:
    /// False when the result was decided before; the call then changes nothing.
    template <class U = Value> bool succeed(U&& value = {}) {
        return decide(std::make_unique<Value>(std::forward<U>(value)));
    }

    /// False when the result was decided before; the call then changes nothing.
    bool fail(std::exception_ptr failure) { return decide(std::move(failure)); }

    template <std::derived_from<std::exception> E> bool fail(E failure) {
        return decide(std::make_exception_ptr(std::move(failure)));
    }

    [[nodiscard]] bool isDecided() const {
        const std::scoped_lock lock(m_state->mutex);
        return decidedLocked();
    }

    class Awaiter {
    public:
        explicit Awaiter(std::shared_ptr<State> state) : m_state(std::move(state)) {}
        [[nodiscard]] bool await_ready() const noexcept { return false; }
        bool await_suspend(std::coroutine_handle<> waiter) {
            const std::scoped_lock lock(m_state->mutex);
            if (m_state->outcome.index() != 0) {
                return false;
            }
            // First, since it throws where the system has no descriptor for a loop, and nobody waits then.
            m_state->loop = EventLoop::current();
            m_state->waiter = waiter;
            return true;
        }
        T await_resume() {
            const std::scoped_lock lock(m_state->mutex);
            if (const auto* failure = std::get_if<std::exception_ptr>(&m_state->outcome)) {
                std::rethrow_exception(*failure);
            }
            if constexpr (!std::is_void_v<T>) {
                return std::move(*std::get<std::unique_ptr<Value>>(m_state->outcome));
            }
        }

    private:
        std::shared_ptr<State> m_state;
    };

    Awaiter operator co_await() const { return Awaiter(m_state); }

private:
    bool decidedLocked() const { return m_state->outcome.index() != 0; }

    template <class Outcome> bool decide(Outcome outcome) {
        std::coroutine_handle<> waiter;
        std::shared_ptr<EventLoop> loop;
        {
            const std::scoped_lock lock(m_state->mutex);
            if (decidedLocked()) {
                return false;
            }
            m_state->outcome = std::move(outcome);
            waiter = std::exchange(m_state->waiter, nullptr);
            loop = std::move(m_state->loop);
        }
        if (waiter) {
            loop->post([waiter] { waiter.resume(); });
        }
        return true;
    }

    std::shared_ptr<State> m_state = std::make_shared<State>();
};

/// Runs the work and decides the result with what it gave or threw, once the work, with everything that it held, is
/// gone.
template <class Work, class T> void completeWith(std::optional<Work>& work, Completion<T> done) {
    std::optional<std::conditional_t<std::is_void_v<T>, std::monostate, T>> result;
    std::exception_ptr failure;
    try {
        if constexpr (std::is_void_v<T>) {
            (*work)();
            result.emplace();
        } else {
            result.emplace((*work)());
        }
    } catch (...) {
        failure = std::current_exception();
    }
    work.reset();
    if (failure) {
        done.fail(failure);
    } else {
        done.succeed(std::move(*result));
    }
}

} // namespace driftwell
