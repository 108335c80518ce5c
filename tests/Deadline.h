#pragma once

#include <chrono>
#include <cstdlib>

namespace driftwell::tests {

/// How long a test waits for something at most: long enough for the slowest machine under the slowest sanitizer, since
/// it only ends a test that would hang. DRIFTWELL_TEST_DEADLINE has it in seconds, for those who wait for a test that
/// is broken.
inline const std::chrono::seconds deadline = [] {
    const char* seconds = std::getenv("DRIFTWELL_TEST_DEADLINE");
    const long chosen = seconds ? std::strtol(seconds, nullptr, 10) : 0;
    constexpr long usual = 60;
    return std::chrono::seconds(chosen > 0 ? chosen : usual);
}();

} // namespace driftwell::tests
