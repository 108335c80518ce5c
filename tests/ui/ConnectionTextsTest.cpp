#include "ui/ConnectionTexts.h"

#include "tests/ui/UiFixture.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

class ConnectionTextsTest : public UiFixture {};

TEST_F(ConnectionTextsTest, TheHostIsTheConfiguredOne) {
    EXPECT_EQ(hostName(become(Kind::Connected)), host());
}

TEST_F(ConnectionTextsTest, WithoutAPlatformTheHostIsCalledDriftwell) {
    EXPECT_EQ(hostName(become(Kind::NoHost)), QStringLiteral("driftwell"));
}

TEST_F(ConnectionTextsTest, AConnectionThatIsBeingMadeTakesADrop) {
    EXPECT_TRUE(canDeploy(become(Kind::Connecting)));
}

TEST_F(ConnectionTextsTest, AConnectionTakesADrop) {
    EXPECT_TRUE(canDeploy(become(Kind::Connected)));
}

TEST_F(ConnectionTextsTest, WithoutAPlatformThereIsNoDrop) {
    EXPECT_FALSE(canDeploy(become(Kind::NoHost)));
}

TEST_F(ConnectionTextsTest, BeforeThePlatformIsKnownThereIsNoDrop) {
    ASSERT_EQ(model().connection().status(), Status::connecting());
    EXPECT_FALSE(canDeploy(model()));
}

TEST_F(ConnectionTextsTest, APlatformOutOfReachTakesNoDrop) {
    EXPECT_FALSE(canDeploy(become(Kind::Unreachable)));
}

TEST_F(ConnectionTextsTest, APersonWhoIsNotOnTheTeamCannotDrop) {
    EXPECT_FALSE(canDeploy(become(Kind::NotTeam)));
}

TEST_F(ConnectionTextsTest, APersonWhoIsSignedOutCannotDrop) {
    EXPECT_FALSE(canDeploy(become(Kind::SignedOut)));
}

TEST_F(ConnectionTextsTest, WhileTheIntroductionIsShownThereIsNoDropEvenWithAWorkingConnection) {
    folder().write("defaults.ini", "[General]\nonboardingCompleted=false\n");
    become(Kind::Connected);
    ASSERT_TRUE(model().gates().needsOnboarding());
    EXPECT_FALSE(canDeploy(model()));
    EXPECT_FALSE(pausedText(model()));
}

TEST_F(ConnectionTextsTest, NothingIsPausedWhileConnectingOrConnected) {
    EXPECT_FALSE(pausedText(become(Kind::Connecting)));
    EXPECT_FALSE(pausedText(become(Kind::Connected)));
}

TEST_F(ConnectionTextsTest, DeploysArePausedWhileThePlatformIsOutOfReach) {
    EXPECT_EQ(pausedText(become(Kind::Unreachable)),
              QStringLiteral("Deploys are paused while %1 is unreachable").arg(host()));
}

TEST_F(ConnectionTextsTest, DeploysArePausedWithoutAPlatform) {
    EXPECT_EQ(pausedText(become(Kind::NoHost)), QStringLiteral("Deploys are paused while driftwell is unreachable"));
}

TEST_F(ConnectionTextsTest, DeploysArePausedForWhoIsNotOnTheTeam) {
    EXPECT_EQ(pausedText(become(Kind::NotTeam)),
              QStringLiteral("Deploys are paused until you sign in to %1").arg(host()));
}

TEST_F(ConnectionTextsTest, DeploysArePausedForWhoIsSignedOut) {
    EXPECT_EQ(pausedText(become(Kind::SignedOut)),
              QStringLiteral("Deploys are paused until you sign in to 127.0.0.1:%1").arg(server.port()));
}

} // namespace
} // namespace driftwell::tests
