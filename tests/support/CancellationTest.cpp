#include "support/Cancellation.h"

#include <gtest/gtest.h>

#include <optional>

namespace driftwell {
namespace {

TEST(CancellationTest, ThrowsOnlyAfterAStopWasRequested) {
    std::stop_source source;
    EXPECT_NO_THROW(throwIfCancelled(source.get_token()));
    EXPECT_NO_THROW(throwIfCancelled(std::stop_token()));
    source.request_stop();
    EXPECT_THROW(throwIfCancelled(source.get_token()), Cancelled);
}

TEST(StopScopeTest, StopsWithItsParent) {
    std::stop_source parent;
    const StopScope scope(parent.get_token());
    EXPECT_FALSE(scope.token().stop_requested());
    parent.request_stop();
    EXPECT_TRUE(scope.token().stop_requested());
}

TEST(StopScopeTest, StopsAloneWithoutItsParent) {
    std::stop_source parent;
    StopScope scope(parent.get_token());
    const StopScope sibling(parent.get_token());
    scope.requestStop();
    EXPECT_TRUE(scope.token().stop_requested());
    EXPECT_FALSE(parent.stop_requested());
    EXPECT_FALSE(sibling.token().stop_requested());
}

TEST(StopScopeTest, IsStoppedFromTheStartWhenItsParentIs) {
    std::stop_source parent;
    parent.request_stop();
    EXPECT_TRUE(StopScope(parent.get_token()).token().stop_requested());
}

TEST(StopScopeTest, StopsWithTheParentOfItsParent) {
    std::stop_source top;
    const StopScope middle(top.get_token());
    const StopScope bottom(middle.token());
    top.request_stop();
    EXPECT_TRUE(bottom.token().stop_requested());
}

TEST(StopScopeTest, CanStopWithoutAParent) {
    StopScope scope{std::stop_token()};
    EXPECT_TRUE(scope.token().stop_possible());
    scope.requestStop();
    EXPECT_TRUE(scope.token().stop_requested());
}

TEST(StopScopeTest, NoLongerHearsItsParentOnceItIsGone) {
    std::stop_source parent;
    std::optional<StopScope> scope(std::in_place, parent.get_token());
    const std::stop_token token = scope->token();
    scope.reset();
    parent.request_stop();
    EXPECT_FALSE(token.stop_requested());
}

} // namespace
} // namespace driftwell
