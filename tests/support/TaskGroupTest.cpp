#include "support/TaskGroup.h"

#include "support/Cancellation.h"
#include "tests/Await.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

namespace driftwell {
namespace {

using tests::await;
using tests::settle;

Task<> waitFor(Completion<> completion, std::shared_ptr<int> count) {
    ++*count;
    co_await completion;
    ++*count;
}

Task<> fail() {
    throw std::runtime_error("nobody hears this");
    co_return;
}

Task<> tell(Task<> task, std::shared_ptr<bool> ended) {
    co_await std::move(task);
    *ended = true;
}

TEST(TaskGroupTest, WithoutTasksAllHaveEnded) {
    TaskGroup group;
    await(group.end());
}

TEST(TaskGroupTest, EndsWithTheLastOfItsTasks) {
    TaskGroup group;
    const auto count = std::make_shared<int>(0);
    const auto ended = std::make_shared<bool>(false);
    Completion<> first;
    Completion<> second;
    group.run(waitFor(first, count));
    group.run(waitFor(second, count));
    EXPECT_EQ(*count, 2) << "they start at once";
    detach(tell(group.end(), ended));
    second.succeed();
    settle();
    EXPECT_EQ(*count, 3);
    EXPECT_FALSE(*ended);
    first.succeed();
    settle();
    EXPECT_EQ(*count, 4);
    EXPECT_TRUE(*ended);
}

TEST(TaskGroupTest, ATaskThatFailedHasEnded) {
    TaskGroup group;
    group.run(fail());
    await(group.end());
}

Task<> waitForStop(std::stop_token stop, Completion<> stopped) {
    Completion<> requested;
    const std::stop_callback callback(stop, [requested]() mutable { requested.fail(Cancelled()); });
    try {
        co_await requested;
    } catch (const Cancelled&) {
        stopped.succeed();
        throw;
    }
}

TEST(TaskGroupTest, EndingItStopsItsTasks) {
    TaskGroup group;
    group.run(waitForStop(group.token(), {}));
    group.run(waitForStop(group.token(), {}));
    EXPECT_FALSE(group.token().stop_requested());
    await(group.end());
    EXPECT_TRUE(group.token().stop_requested());
}

TEST(TaskGroupTest, ItsTasksAreStoppedWhenItGoes) {
    Completion<> stopped;
    {
        TaskGroup group;
        group.run(waitForStop(group.token(), stopped));
    }
    settle();
    EXPECT_TRUE(stopped.isDecided());
}

TEST(TaskGroupTest, WhoeverStartedATaskCanAwaitIt) {
    TaskGroup group;
    const auto count = std::make_shared<int>(0);
    Completion<> completion;
    Task<> started = group.run(waitFor(completion, count));
    EXPECT_FALSE(started.isReady());
    completion.succeed();
    await(std::move(started));
    EXPECT_EQ(*count, 2);
}

TEST(TaskGroupTest, ATaskThatWasCancelledEndsWell) {
    TaskGroup group;
    std::stop_source stop;
    Task<> started = group.run(waitForStop(stop.get_token(), {}));
    stop.request_stop();
    EXPECT_NO_THROW(await(std::move(started)));
}

TEST(TaskGroupTest, WhatATaskThrowsReachesWhoeverAwaitsIt) {
    TaskGroup group;
    EXPECT_THROW(await(group.run(fail())), std::runtime_error);
}

TEST(TaskGroupTest, ATaskMayOutliveTheGroup) {
    const auto count = std::make_shared<int>(0);
    Completion<> completion;
    {
        TaskGroup group;
        group.run(waitFor(completion, count));
    }
    completion.succeed();
    settle();
    EXPECT_EQ(*count, 2);
}

} // namespace
} // namespace driftwell
