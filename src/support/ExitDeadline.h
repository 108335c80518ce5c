#pragma once

#include <chrono>

namespace driftwell {

/// Ends the process after this time, whatever its threads are doing then, unless it has ended before: a thread that
/// waits for a server may never come back, and an ordinary end waits for every thread. Standard error then says so,
/// and the exit code is 1. The first call counts. Uses SIGALRM and alarm(2).
void endProcessWithin(std::chrono::seconds time);

} // namespace driftwell
