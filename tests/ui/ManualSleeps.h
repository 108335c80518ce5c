#pragma once

#include "support/Cancellation.h"
#include "support/Completion.h"
#include "support/Sleep.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <list>
#include <memory>
#include <stop_token>

namespace driftwell::tests {

/// Any number of sleeps at a time, each of which lasts until the test ends it. A stop ends one with Cancelled, as it
/// ends a real one.
class ManualSleeps {
public:
    using Duration = std::chrono::milliseconds;

    /// What the model is given. It may outlive this object.
    [[nodiscard]] Sleeper sleeper() const {
        return [state = m_state](Duration duration, std::stop_token stop) {
            return sleep(state, duration, std::move(stop));
        };
    }

    /// How many sleeps of this duration are under way.
    [[nodiscard]] std::ptrdiff_t count(Duration duration) const {
        return std::count_if(m_state->sleeps.begin(), m_state->sleeps.end(),
                             [duration](const Sleep& each) { return each.isFor(duration); });
    }

    /// Lets the latest sleep of this duration end.
    void wake(Duration duration) {
        const auto found = std::find_if(m_state->sleeps.rbegin(), m_state->sleeps.rend(),
                                        [duration](const Sleep& each) { return each.isFor(duration); });
        ASSERT_NE(found, m_state->sleeps.rend()) << "nothing sleeps for " << duration.count() << " ms";
        found->woken = true;
        found->alarm.succeed();
    }

private:
    struct Sleep {
        Duration duration;
        Completion<> alarm;
        /// It is about to end.
        bool woken = false;

        [[nodiscard]] bool isFor(Duration wanted) const { return !woken && duration == wanted; }
    };
    struct State {
        std::list<Sleep> sleeps;
    };

    /// Stands in the list for as long as this lives.
    class Entry {
    public:
        Entry(std::shared_ptr<State> state, const Sleep& sleep)
            : m_state(std::move(state)), m_place(m_state->sleeps.insert(m_state->sleeps.end(), sleep)) {}
        ~Entry() { m_state->sleeps.erase(m_place); }
        Entry(const Entry&) = delete;
        Entry& operator=(const Entry&) = delete;

    private:
        std::shared_ptr<State> m_state;
        std::list<Sleep>::iterator m_place;
    };

    static Task<> sleep(std::shared_ptr<State> state, Duration duration, std::stop_token stop) {
        throwIfCancelled(stop);
        Completion<> alarm;
        const Sleep own{duration, alarm};
        const Entry entry(state, own);
        const std::stop_callback cancel(stop, [alarm]() mutable { alarm.fail(Cancelled()); });
        co_await alarm;
    }

    std::shared_ptr<State> m_state = std::make_shared<State>();
};

} // namespace driftwell::tests
