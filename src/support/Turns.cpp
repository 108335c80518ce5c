#include "support/Turns.h"

#include "support/Cancellation.h"

namespace driftwell {

Turns::Turns() : m_state(std::make_shared<State>()) {}

Task<Turns::Turn> Turns::take(std::string thing, std::stop_token stop) {
    return takeOf(m_state, std::move(thing), std::move(stop));
}

Task<Turns::Turn> Turns::takeOf(std::shared_ptr<State> state, std::string thing, std::stop_token stop) {
    throwIfCancelled(stop);
    const auto [found, isFree] = state->waiting.try_emplace(thing);
    if (!isFree) {
        Completion<> turn;
        found->second.push_back(turn);
        const std::stop_callback leave(stop, [turn]() mutable { turn.fail(Cancelled()); });
        co_await turn;
    }
    co_return Turn(state, thing);
}

Turns::Turn::~Turn() {
    if (!m_state) {
        return;
    }
    const auto found = m_state->waiting.find(m_thing);
    std::deque<Completion<>>& waiting = found->second;
    while (!waiting.empty()) {
        Completion<> next = std::move(waiting.front());
        waiting.pop_front();
        // One who has left takes no turn.
        if (next.succeed()) {
            return;
        }
    }
    m_state->waiting.erase(found);
}

} // namespace driftwell
