#include "support/Interruption.h"

#include "tests/Await.h"

#include <gtest/gtest.h>
#include <signal.h>

namespace driftwell::tests {

namespace {

using Handler = void (*)(int);

Handler handlerOf(int signal) {
    struct sigaction present {};
    ::sigaction(signal, nullptr, &present);
    return present.sa_handler;
}

void another(int) {}

} // namespace

class InterruptionTest : public testing::TestWithParam<int> {
protected:
    void SetUp() override { ::signal(GetParam(), SIG_DFL); }
    void TearDown() override { ::signal(GetParam(), SIG_DFL); }
};

TEST_P(InterruptionTest, StopsAtTheSignal) {
    const Interruption interruption;
    EXPECT_FALSE(interruption.token().stop_requested());
    ::raise(GetParam());
    EXPECT_EQ(interruption.signal(), std::nullopt);
    waitUntil([&interruption] { return interruption.token().stop_requested(); });
    EXPECT_EQ(interruption.signal(), GetParam());
}

TEST_P(InterruptionTest, LeavesASecondSignalToTheSystem) {
    const Interruption interruption;
    EXPECT_NE(handlerOf(GetParam()), SIG_DFL);
    ::raise(GetParam());
    EXPECT_EQ(handlerOf(GetParam()), SIG_DFL);
}

TEST_P(InterruptionTest, LeavesTheSignalToTheSystemAtItsEnd) {
    { const Interruption interruption; }
    EXPECT_EQ(handlerOf(GetParam()), SIG_DFL);
}

TEST_P(InterruptionTest, LeavesASignalSwitchedOff) {
    ::signal(GetParam(), SIG_IGN);
    {
        const Interruption interruption;
        EXPECT_EQ(handlerOf(GetParam()), SIG_IGN);
    }
    EXPECT_EQ(handlerOf(GetParam()), SIG_IGN);
}

TEST_P(InterruptionTest, LeavesWhatAnotherHasSetMeanwhile) {
    {
        const Interruption interruption;
        ::signal(GetParam(), another);
    }
    EXPECT_EQ(handlerOf(GetParam()), another);
}

INSTANTIATE_TEST_SUITE_P(Signals, InterruptionTest, testing::Values(SIGINT, SIGTERM, SIGHUP));

} // namespace driftwell::tests
