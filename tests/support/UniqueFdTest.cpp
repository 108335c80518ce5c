#include "support/UniqueFd.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace driftwell {
namespace {

int opened() {
    return ::open("/dev/null", O_RDONLY | O_CLOEXEC);
}

bool isOpen(int fd) {
    return ::fcntl(fd, F_GETFD) >= 0;
}

TEST(UniqueFdTest, ClosesItsDescriptorAtItsEnd) {
    const int fd = opened();
    {
        const UniqueFd owner(fd);
        EXPECT_TRUE(owner);
        EXPECT_EQ(owner.get(), fd);
        EXPECT_TRUE(isOpen(fd));
    }
    EXPECT_FALSE(isOpen(fd));
}

TEST(UniqueFdTest, IsEmptyUnlessToldOtherwise) {
    EXPECT_FALSE(UniqueFd());
    EXPECT_EQ(UniqueFd().get(), -1);
    EXPECT_FALSE(UniqueFd(-1)) << "what a failed system call gives";
    EXPECT_TRUE(UniqueFd(::dup(0)));
}

TEST(UniqueFdTest, HandsItsDescriptorOn) {
    const int fd = opened();
    UniqueFd first(fd);
    const UniqueFd second(std::move(first));
    EXPECT_FALSE(first); // NOLINT(bugprone-use-after-move): what is left is the point
    EXPECT_EQ(second.get(), fd);
    EXPECT_TRUE(isOpen(fd));
}

TEST(UniqueFdTest, ClosesItsOwnWhenItIsGivenAnother) {
    const int old = opened();
    const int fresh = opened();
    UniqueFd owner(old);
    owner = UniqueFd(fresh);
    EXPECT_FALSE(isOpen(old));
    EXPECT_TRUE(isOpen(fresh));
    EXPECT_EQ(owner.get(), fresh);
}

TEST(UniqueFdTest, SurvivesBeingGivenItself) {
    UniqueFd owner(opened());
    UniqueFd& same = owner;
    owner = std::move(same);
    EXPECT_TRUE(isOpen(owner.get()));
}

TEST(UniqueFdTest, ClosesWhenReset) {
    const int fd = opened();
    UniqueFd owner(fd);
    owner.reset();
    EXPECT_FALSE(isOpen(fd));
    EXPECT_FALSE(owner);
    owner.reset();
}

TEST(UniqueFdTest, LetsGoWithoutClosing) {
    UniqueFd owner(opened());
    const int fd = owner.release();
    EXPECT_FALSE(owner);
    EXPECT_TRUE(isOpen(fd));
    ::close(fd);
}

} // namespace
} // namespace driftwell
