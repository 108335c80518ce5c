#pragma once

#include "support/Task.h"

#include <chrono>
#include <functional>
#include <stop_token>

namespace driftwell {

/// Waits for `duration` on a clock that goes on while the computer sleeps (CLOCK_BOOTTIME, timerfd_create(2)), so a
/// wait that ended during sleep ends at once on waking. A process that has no descriptor left waits on Qt's own clock
/// instead. Throws Cancelled as soon as a stop is requested, and nothing else.
Task<> sleepFor(std::chrono::milliseconds duration, std::stop_token stop);

/// What a model sleeps with; a test gives one that it drives by hand.
using Sleeper = std::function<Task<>(std::chrono::milliseconds, std::stop_token)>;

} // namespace driftwell
