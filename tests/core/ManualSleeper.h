#pragma once

#include "support/Cancellation.h"
#include "support/Completion.h"
#include "support/Sleep.h"

#include <gtest/gtest.h>

#include <chrono>
#include <deque>
#include <memory>
#include <stop_token>
#include <vector>

namespace driftwell::tests {

/// A sleep that lasts until the test ends it. A stop ends it with Cancelled, as it ends a real one.
class ManualSleeper {
public:
    /// What the model is given. It may outlive this object.
    [[nodiscard]] Sleeper sleeper() const {
        return [state = m_state](std::chrono::milliseconds duration, std::stop_token stop) {
            return sleep(state, duration, std::move(stop));
        };
    }

    /// Every duration that was asked for, in order.
    [[nodiscard]] const std::vector<std::chrono::milliseconds>& requested() const { return m_state->requested; }

    [[nodiscard]] bool isAsleep() const { return m_state->asleep > 0; }

    /// Lets the sleep that is under way end.
    void wake() {
        ASSERT_EQ(m_state->asleep, 1) << "exactly one sleep is to be under way";
        m_state->alarm.succeed();
    }

private:
    struct State {
        std::vector<std::chrono::milliseconds> requested;
        Completion<> alarm;
        int asleep = 0;
    };

    static Task<> sleep(std::shared_ptr<State> state, std::chrono::milliseconds duration, std::stop_token stop) {
        throwIfCancelled(stop);
        state->requested.push_back(duration);
        ++state->asleep;
        Completion<> alarm;
        state->alarm = alarm;
        try {
            const std::stop_callback cancel(stop, [alarm]() mutable { alarm.fail(Cancelled()); });
            co_await alarm;
        } catch (const Cancelled&) {
            --state->asleep;
            throw;
        }
        --state->asleep;
    }

    std::shared_ptr<State> m_state = std::make_shared<State>();
};

} // namespace driftwell::tests
