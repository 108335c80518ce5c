#pragma once

#include <QtGlobal>

namespace driftwell::tests {

/// How many rounds a test takes that finds more the longer it runs: what proves its point in seconds or, where
/// DRIFTWELL_TEST_FULL is set, all of them.
inline int rounds(int usual, int full) {
    return qEnvironmentVariableIsSet("DRIFTWELL_TEST_FULL") ? full : usual;
}

} // namespace driftwell::tests
