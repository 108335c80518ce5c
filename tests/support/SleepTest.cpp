#include "support/Sleep.h"

#include "support/Cancellation.h"
#include "tests/Await.h"
#include "tests/NoMoreDescriptors.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <thread>

namespace driftwell {
namespace {

using namespace std::chrono_literals;
using tests::await;
using Clock = std::chrono::steady_clock;

constexpr auto forever = 24h;

std::ptrdiff_t openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

TEST(SleepTest, EndsAfterItsTimeAndNotBefore) {
    const auto start = Clock::now();
    await(sleepFor(30ms, {}));
    EXPECT_GE(Clock::now() - start, 30ms);
}

TEST(SleepTest, EndsAfterNoTimeAtAll) {
    await(sleepFor(0ms, {}));
    await(sleepFor(-5ms, {}));
}

TEST(SleepTest, LetsTheShorterOfTwoEndFirst) {
    std::stop_source stop;
    Task<> longer = sleepFor(forever, stop.get_token());
    await(sleepFor(5ms, {}));
    EXPECT_FALSE(longer.isReady());
    stop.request_stop();
    EXPECT_THROW(await(std::move(longer)), Cancelled);
}

TEST(SleepTest, IsCancelledAtOnce) {
    std::stop_source stop;
    Task<> sleep = sleepFor(forever, stop.get_token());
    tests::settle();
    EXPECT_FALSE(sleep.isReady());
    stop.request_stop();
    EXPECT_THROW(await(std::move(sleep)), Cancelled);
}

TEST(SleepTest, IsCancelledFromAnotherThread) {
    std::stop_source stop;
    Task<> sleep = sleepFor(forever, stop.get_token());
    std::jthread other([&stop] { stop.request_stop(); });
    EXPECT_THROW(await(std::move(sleep)), Cancelled);
}

TEST(SleepTest, DoesNotBeginWhenTheStopCameBefore) {
    std::stop_source stop;
    stop.request_stop();
    Task<> sleep = sleepFor(forever, stop.get_token());
    EXPECT_TRUE(sleep.isReady());
    EXPECT_THROW(await(std::move(sleep)), Cancelled);
}

TEST(SleepTest, LeavesNoTimerHoweverItEnds) {
    await(sleepFor(0ms, {})); // the event loop's own descriptors are open from here on
    const auto before = openDescriptors();
    std::stop_source stop;
    Task<> cancelled = sleepFor(forever, stop.get_token());
    Task<> ended = sleepFor(1ms, {});
    EXPECT_EQ(openDescriptors(), before + 2);
    stop.request_stop();
    EXPECT_THROW(await(std::move(cancelled)), Cancelled);
    await(std::move(ended));
    EXPECT_EQ(openDescriptors(), before);
}

TEST(SleepTest, EndsAfterItsTimeWhereNoDescriptorIsLeft) {
    await(sleepFor(0ms, {})); // the event loop's own descriptors are open from here on
    const tests::NoMoreDescriptors exhausted;
    const auto start = Clock::now();
    await(sleepFor(30ms, {}));
    EXPECT_GE(Clock::now() - start, 30ms);
    await(sleepFor(-5ms, {}));
}

TEST(SleepTest, IsCancelledWhereNoDescriptorIsLeft) {
    await(sleepFor(0ms, {}));
    const tests::NoMoreDescriptors exhausted;
    std::stop_source stop;
    Task<> sleep = sleepFor(forever, stop.get_token());
    tests::settle();
    EXPECT_FALSE(sleep.isReady());
    stop.request_stop();
    EXPECT_THROW(await(std::move(sleep)), Cancelled);
}

} // namespace
} // namespace driftwell
