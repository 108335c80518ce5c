#pragma once

#include <QString>

#include <cstdint>
#include <iostream>
#include <random>

namespace driftwell::tests {

/// Where a random test begins: DRIFTWELL_TEST_SEED, so that a failure can be repeated, or a fresh number. Printed.
inline std::uint64_t chooseSeed(const char* test) {
    bool given = false;
    std::uint64_t seed = qEnvironmentVariable("DRIFTWELL_TEST_SEED").toULongLong(&given);
    if (!given) {
        seed = std::random_device()();
    }
    std::cout << test << ": DRIFTWELL_TEST_SEED=" << seed << std::endl;
    return seed;
}

/// A number from 0 up to, not including, `end`.
inline std::size_t below(std::mt19937_64& random, std::size_t end) {
    return static_cast<std::size_t>(random() % end);
}

} // namespace driftwell::tests
