#include "core/Invitations.h"

#include <gtest/gtest.h>

namespace driftwell::tests {
namespace {

SiteAccess access() {
    return {SiteAccessMode::Restricted, {"tom@sites.test", "Ann@sites.test"}, QStringLiteral("ada@sites.test"), {}};
}

TEST(InvitationsTest, AnAddressIsInvitedInSmallLettersWithoutBlanksAtItsEnds) {
    EXPECT_EQ(invitedAddress(" \tTom@Sites.Test \n"), QStringLiteral("tom@sites.test"));
    EXPECT_EQ(invitedAddress("tom@sites.test"), QStringLiteral("tom@sites.test"));
    EXPECT_EQ(invitedAddress("  "), QString());
}

TEST(InvitationsTest, AnAddressIsAnyTextWithTheSign) {
    EXPECT_TRUE(canInvite("new@sites.test", access()));
    EXPECT_TRUE(canInvite("@", access()));
    EXPECT_FALSE(canInvite("new.sites.test", access()));
    EXPECT_FALSE(canInvite("", access()));
}

TEST(InvitationsTest, WhoIsInvitedIsNotInvitedAgain) {
    EXPECT_FALSE(canInvite("tom@sites.test", access()));
    EXPECT_TRUE(canInvite("ann@sites.test", access())) << "an address with capitals is another one";
}

TEST(InvitationsTest, TheOwnerIsNotInvited) {
    EXPECT_FALSE(canInvite("ada@sites.test", access()));
    EXPECT_TRUE(canInvite("ada@sites.test", SiteAccess::teamDefault()));
}

} // namespace
} // namespace driftwell::tests
