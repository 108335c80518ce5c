#include "support/Both.h"

#include "support/Completion.h"
#include "tests/Await.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace driftwell {
namespace {

using tests::await;

Task<int> resultOf(Completion<int> completion) {
    co_return co_await completion;
}

TEST(BothTest, GivesTheResultsInTheirPlacesWhicheverComesFirst) {
    Completion<int> first;
    Completion<int> second;
    Task<std::pair<int, int>> task = both(resultOf(first), resultOf(second));
    second.succeed(2);
    EXPECT_FALSE(task.isReady());
    first.succeed(1);
    EXPECT_EQ(await(std::move(task)), std::pair(1, 2));
}

TEST(BothTest, WaitsForTheOtherWhenOneHasFailed) {
    for (const bool isFirst : {true, false}) {
        Completion<int> failing;
        Completion<int> other;
        Task<std::pair<int, int>> task =
            isFirst ? both(resultOf(failing), resultOf(other)) : both(resultOf(other), resultOf(failing));
        failing.fail(std::runtime_error("broken"));
        EXPECT_FALSE(task.isReady());
        other.succeed(1);
        EXPECT_THROW(await(std::move(task)), std::runtime_error);
    }
}

TEST(BothTest, OfTwoFailuresTheFirstTasksIsThrown) {
    Completion<int> first;
    Completion<int> second;
    Task<std::pair<int, int>> task = both(resultOf(first), resultOf(second));
    second.fail(std::logic_error("second"));
    first.fail(std::runtime_error("first"));
    EXPECT_THROW(await(std::move(task)), std::runtime_error);
}

} // namespace
} // namespace driftwell
