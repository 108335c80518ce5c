#pragma once

#include "support/Completion.h"
#include "support/Task.h"

#include <deque>
#include <map>
#include <memory>
#include <stop_token>
#include <string>
#include <utility>

namespace driftwell {

/// Keeps operations on one thing apart: whoever takes a turn waits until those that came before have given theirs back.
/// Things have names. Used on one thread.
class Turns {
    struct State;

public:
    /// Held for as long as the thing is worked on.
    class Turn {
    public:
        Turn(Turn&& other) noexcept
            : m_state(std::exchange(other.m_state, nullptr)), m_thing(std::move(other.m_thing)) {}
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;
        Turn& operator=(Turn&&) = delete;
        ~Turn();

    private:
        friend class Turns;
        Turn(std::shared_ptr<State> state, std::string thing) : m_state(std::move(state)), m_thing(std::move(thing)) {}

        std::shared_ptr<State> m_state;
        std::string m_thing;
    };

    Turns();

    /// The next turn at a thing. Throws Cancelled when the stop is requested before it has come.
    [[nodiscard]] Task<Turn> take(std::string thing, std::stop_token stop);

private:
    struct State {
        /// Those who wait, of every thing that is worked on.
        std::map<std::string, std::deque<Completion<>>> waiting;
    };

    static Task<Turn> takeOf(std::shared_ptr<State> state, std::string thing, std::stop_token stop);

    std::shared_ptr<State> m_state;
};

} // namespace driftwell
