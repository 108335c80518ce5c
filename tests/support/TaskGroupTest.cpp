#include "support/TaskGroup.h"

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
    await(group.ended());
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
    detach(tell(group.ended(), ended));
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
    await(group.ended());
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
