#include "support/WorkerPool.h"

#include "tests/Await.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace driftwell {
namespace {

using tests::await;

TEST(WorkerPoolTest, GivesTheResultOfTheWork) {
    EXPECT_EQ(await(runOnPool([] { return 7; })), 7);
    EXPECT_EQ(*await(runOnPool([] { return std::make_unique<int>(8); })), 8);
}

TEST(WorkerPoolTest, RunsWorkWithoutAResult) {
    bool ran = false;
    await(runOnPool([&ran] { ran = true; }));
    EXPECT_TRUE(ran);
}

TEST(WorkerPoolTest, ThrowsWhatTheWorkThrew) {
    EXPECT_THROW(await(runOnPool([]() -> int { throw std::out_of_range("worker"); })), std::out_of_range);
    EXPECT_THROW(await(runOnPool([] { throw std::domain_error("worker"); })), std::domain_error);
}

Task<std::pair<std::thread::id, std::thread::id>> threads() {
    const std::thread::id worker = co_await runOnPool([] { return std::this_thread::get_id(); });
    co_return std::pair(worker, std::this_thread::get_id());
}

TEST(WorkerPoolTest, WorksOffTheThreadThatAwaitsAndResumesOnIt) {
    const auto [worker, resumed] = await(threads());
    EXPECT_NE(worker, std::this_thread::get_id());
    EXPECT_EQ(resumed, std::this_thread::get_id());
}

TEST(WorkerPoolTest, StartsTheWorkBeforeItIsAwaited) {
    std::atomic<bool> ran = false;
    Task<> task = runOnPool([&ran] { ran = true; });
    tests::waitUntil([&ran] { return ran.load(); });
    await(std::move(task));
}

TEST(WorkerPoolTest, LeavesTheEventLoopRunningMeanwhile) {
    std::atomic<bool> loopRan = false;
    EventLoop::current()->post([&loopRan] { loopRan = true; });
    // The work waits for the loop: were the loop blocked by it, neither would ever end.
    EXPECT_TRUE(await(runOnPool([&loopRan] {
        const auto end = std::chrono::steady_clock::now() + tests::deadline;
        while (!loopRan && std::chrono::steady_clock::now() < end) {
            std::this_thread::yield();
        }
        return loopRan.load();
    })));
}

TEST(WorkerPoolTest, GivesEveryoneOfManyTheirOwnResult) {
    std::vector<Task<int>> tasks;
    for (int i = 0; i < 200; ++i) {
        tasks.push_back(runOnPool([i] { return i * i; }));
    }
    for (int i = 0; i < 200; ++i) {
        EXPECT_EQ(await(std::move(tasks[static_cast<std::size_t>(i)])), i * i);
    }
}

} // namespace
} // namespace driftwell
