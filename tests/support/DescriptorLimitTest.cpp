#include "support/DescriptorLimit.h"

#include "tests/Descriptors.h"

#include <gtest/gtest.h>

namespace driftwell {
namespace {

TEST(DescriptorLimitTest, LeavesNothingOpen) {
    const std::ptrdiff_t before = tests::openDescriptors();
    EXPECT_TRUE(canOpenDescriptors(10));
    EXPECT_EQ(tests::openDescriptors(), before);
}

TEST(DescriptorLimitTest, IsReachedWhereNoneIsLeft) {
    const tests::FullDescriptorTable full;
    EXPECT_TRUE(canOpenDescriptors(0));
    EXPECT_FALSE(canOpenDescriptors(1));
}

} // namespace
} // namespace driftwell
