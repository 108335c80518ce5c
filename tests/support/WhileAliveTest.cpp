#include "support/WhileAlive.h"

#include "support/Completion.h"
#include "tests/Await.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

namespace driftwell {
namespace {

using tests::await;

Task<int> number(Completion<int> completion) {
    co_return co_await completion;
}

Task<> nothing(Completion<> completion) {
    co_await completion;
}

TEST(WhileAliveTest, GivesTheResultToAnOwnerThatIsThere) {
    const QObject owner;
    Completion<int> completion;
    Task<int> task = whileAlive(&owner, number(completion));
    completion.succeed(7);
    EXPECT_EQ(await(std::move(task)), 7);
}

TEST(WhileAliveTest, GivesTheFailureToAnOwnerThatIsThere) {
    const QObject owner;
    Completion<int> completion;
    Task<int> task = whileAlive(&owner, number(completion));
    completion.fail(std::runtime_error("broken"));
    EXPECT_THROW(await(std::move(task)), std::runtime_error);
}

TEST(WhileAliveTest, SaysThatTheOwnerHasGoneWhenTheResultIsDecided) {
    auto owner = std::make_unique<QObject>();
    Completion<int> completion;
    Task<int> task = whileAlive(owner.get(), number(completion));
    // Decided while the owner is there, and resumed when it is not.
    completion.succeed(7);
    owner.reset();
    EXPECT_THROW(await(std::move(task)), OwnerGone);
}

TEST(WhileAliveTest, SaysThatTheOwnerHasGoneAlsoWhenTheRequestFailed) {
    auto owner = std::make_unique<QObject>();
    Completion<> completion;
    Task<> task = whileAlive(owner.get(), nothing(completion));
    owner.reset();
    completion.fail(std::runtime_error("broken"));
    EXPECT_THROW(await(std::move(task)), OwnerGone);
}

TEST(WhileAliveTest, SaysThatTheOwnerHasGoneAlsoWithoutAResult) {
    auto owner = std::make_unique<QObject>();
    Completion<> completion;
    Task<> task = whileAlive(owner.get(), nothing(completion));
    owner.reset();
    completion.succeed();
    EXPECT_THROW(await(std::move(task)), OwnerGone);
}

} // namespace
} // namespace driftwell
