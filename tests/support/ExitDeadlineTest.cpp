#include "support/ExitDeadline.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <thread>

namespace driftwell::tests {

using namespace std::chrono_literals;

TEST(ExitDeadlineDeathTest, EndsAProcessWhoseThreadsHang) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            endProcessWithin(1s);
            // An ordinary end would wait for it.
            std::thread([] { ::pause(); }).join();
        },
        testing::ExitedWithCode(1), "did not end");
}

TEST(ExitDeadlineDeathTest, LeavesAProcessAloneThatEndsBefore) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            endProcessWithin(3600s);
            ::_exit(0);
        },
        testing::ExitedWithCode(0), "^$");
}

TEST(ExitDeadlineDeathTest, IsNotPutOffByASecondCall) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            endProcessWithin(1s);
            endProcessWithin(3600s);
            for (;;) {
                ::pause();
            }
        },
        testing::ExitedWithCode(1), "did not end");
}

} // namespace driftwell::tests
