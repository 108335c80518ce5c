#include "support/Completion.h"

#include "support/Task.h"
#include "tests/Await.h"
#include "tests/Descriptors.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace driftwell {
namespace {

using tests::await;

template <class T> Task<T> resultOf(Completion<T> completion) {
    co_return co_await completion;
}

TEST(CompletionTest, GivesAResultThatWasDecidedBefore) {
    Completion<int> completion;
    EXPECT_FALSE(completion.isDecided());
    EXPECT_TRUE(completion.succeed(7));
    EXPECT_TRUE(completion.isDecided());
    EXPECT_EQ(await(resultOf(completion)), 7);
}

TEST(CompletionTest, GivesAResultThatIsDecidedAfter) {
    Completion<std::string> completion;
    Task<std::string> task = resultOf(completion);
    tests::settle();
    EXPECT_FALSE(task.isReady());
    completion.succeed("later");
    EXPECT_EQ(await(std::move(task)), "later");
}

TEST(CompletionTest, ResumesLaterAndNotInsideTheCallThatDecides) {
    Completion<> completion;
    const Task<> task = resultOf(completion);
    completion.succeed();
    EXPECT_FALSE(task.isReady());
    tests::waitUntil([&task] { return task.isReady(); });
}

TEST(CompletionTest, ThrowsTheFailureItWasDecidedWith) {
    Completion<int> before;
    EXPECT_TRUE(before.fail(std::out_of_range("before")));
    EXPECT_THROW(await(resultOf(before)), std::out_of_range);

    Completion<> after;
    Task<> task = resultOf(after);
    EXPECT_TRUE(after.fail(std::make_exception_ptr(std::domain_error("after"))));
    EXPECT_TRUE(after.isDecided());
    EXPECT_THROW(await(std::move(task)), std::domain_error);
}

TEST(CompletionTest, IsDecidedOnceOnly) {
    Completion<int> completion;
    EXPECT_TRUE(completion.succeed(1));
    EXPECT_FALSE(completion.succeed(2));
    EXPECT_FALSE(completion.fail(std::runtime_error("late")));
    EXPECT_EQ(await(resultOf(completion)), 1);

    Completion<int> failed;
    EXPECT_TRUE(failed.fail(std::runtime_error("first")));
    EXPECT_FALSE(failed.succeed(1));
    EXPECT_THROW(await(resultOf(failed)), std::runtime_error);
}

TEST(CompletionTest, StaysDecidedBetweenTheDecisionAndTheResumption) {
    Completion<int> completion;
    Task<int> task = resultOf(completion);
    EXPECT_TRUE(completion.succeed(1));
    EXPECT_FALSE(completion.succeed(2));
    EXPECT_EQ(await(std::move(task)), 1);
}

TEST(CompletionTest, HandsOnAResultThatCannotBeCopied) {
    Completion<std::unique_ptr<int>> completion;
    completion.succeed(std::make_unique<int>(7));
    EXPECT_EQ(*await(resultOf(completion)), 7);
}

Task<> noteThread(Completion<> completion, std::thread::id& resumedOn) {
    co_await completion;
    resumedOn = std::this_thread::get_id();
}

TEST(CompletionTest, ResumesOnTheThreadThatAwaitedWhoeverDecides) {
    Completion<> completion;
    std::thread::id resumedOn;
    Task<> task = noteThread(completion, resumedOn);
    std::jthread other([completion]() mutable { completion.succeed(); });
    await(std::move(task));
    EXPECT_EQ(resumedOn, std::this_thread::get_id());
}

TEST(CompletionTest, IsDecidedByExactlyOneOfManyThreads) {
    for (int round = 0; round < 200; ++round) {
        Completion<int> completion;
        std::atomic<int> decided = 0;
        std::atomic<int> winner = -1;
        Task<int> task = resultOf(completion);
        {
            std::vector<std::jthread> threads;
            for (int i = 0; i < 4; ++i) {
                threads.emplace_back([completion, i, &decided, &winner]() mutable {
                    if (completion.succeed(i)) {
                        ++decided;
                        winner = i;
                    }
                });
            }
        }
        EXPECT_EQ(decided, 1);
        EXPECT_EQ(await(std::move(task)), winner);
    }
}

TEST(CompletionTest, LosesNoDecisionThatComesWhileItIsBeingAwaited) {
    for (int round = 0; round < 200; ++round) {
        Completion<int> completion;
        std::jthread other([completion, round]() mutable { completion.succeed(round); });
        EXPECT_EQ(await(resultOf(completion)), round);
    }
}

TEST(CompletionTest, FailsWhereTheThreadCanHaveNoEventLoop) {
    Completion<int> completion;
    Task<int> task;
    std::jthread([&] {
        const tests::FullDescriptorTable full;
        task = resultOf(completion);
    }).join();
    ASSERT_TRUE(task.isReady());
    // Nobody waits for it any more.
    EXPECT_TRUE(completion.succeed(1));
    EXPECT_THROW(await(std::move(task)), std::system_error);
}

} // namespace
} // namespace driftwell
