#include "deploy/TransferSpeed.h"

#include <gtest/gtest.h>

namespace driftwell {
namespace {

using namespace std::chrono_literals;

constexpr std::int64_t megabyte = 1000 * 1000;

const TransferSpeed::Clock::time_point start = TransferSpeed::Clock::time_point() + 1000s;

/// A megabyte a second for so long.
TransferSpeed steady(std::chrono::seconds time) {
    TransferSpeed speed;
    for (auto at = 0ms; at <= time; at += 100ms) {
        speed.add(megabyte * at.count() / 1000, start + at);
    }
    return speed;
}

TEST(TransferSpeedTest, BeforeTheFirstSecondIsOverNothingIsTold) {
    EXPECT_EQ(TransferSpeed().bytesPerSecond(start), std::nullopt);
    EXPECT_EQ(steady(0s).bytesPerSecond(start + 900ms), std::nullopt);
    EXPECT_EQ(TransferSpeed().timeLeft(megabyte, start), std::nullopt);
}

TEST(TransferSpeedTest, ASteadyUploadHasItsSpeedAndItsTime) {
    const TransferSpeed speed = steady(30s);
    EXPECT_NEAR(*speed.bytesPerSecond(start + 30s), megabyte, 1);
    EXPECT_EQ(speed.timeLeft(100 * megabyte, start + 30s), 70s);
    EXPECT_EQ(speed.timeLeft(30 * megabyte, start + 30s), 0s);
}

TEST(TransferSpeedTest, OnlyTheLastSecondsCount) {
    TransferSpeed speed = steady(30s);
    for (auto at = 31s; at <= 60s; at += 1s) {
        speed.add(30 * megabyte + 3 * megabyte * (at - 30s).count(), start + at);
    }
    EXPECT_NEAR(*speed.bytesPerSecond(start + 60s), 3 * megabyte, 1);
}

TEST(TransferSpeedTest, AnUploadThatStandsStillBecomesSlowerAndThenHasNoTime) {
    const TransferSpeed speed = steady(30s);
    EXPECT_NEAR(*speed.bytesPerSecond(start + 34s), megabyte / 2.0, megabyte / 20.0);
    EXPECT_EQ(speed.bytesPerSecond(start + 50s), 0);
    EXPECT_EQ(speed.timeLeft(100 * megabyte, start + 50s), std::nullopt);
}

TEST(TransferSpeedTest, AFileThatIsSentAgainBeginsAnew) {
    TransferSpeed speed = steady(30s);
    speed.add(0, start + 31s);
    EXPECT_EQ(speed.bytesPerSecond(start + 31s), std::nullopt);
    speed.add(4 * megabyte, start + 33s);
    EXPECT_NEAR(*speed.bytesPerSecond(start + 33s), 2 * megabyte, 1);
}

} // namespace
} // namespace driftwell
