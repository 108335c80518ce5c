#include "core/ConnectionTexts.h"

#include "tests/QtPrinters.h"

#include <gmock/gmock.h>

#include <array>

namespace driftwell::tests {
namespace {

using Status = ConnectionStatus;

const std::optional<PlatformConfig> platform = PlatformConfig(QStringLiteral("https://sites.test"));

const std::array everyStatus{Status::unreachable(8), Status::notTeam(QString()), Status::noHost(),
                             Status::connecting(),   Status::connected(),        Status::signedOut()};

TEST(ConnectionTextsTest, TheHostIsTheConfiguredOne) {
    EXPECT_EQ(hostName(platform), QStringLiteral("sites.test"));
    EXPECT_EQ(unreachableText(platform), QStringLiteral("Can’t reach sites.test"));
}

TEST(ConnectionTextsTest, WithoutAPlatformTheHostIsCalledDriftwell) {
    EXPECT_EQ(hostName(std::nullopt), QStringLiteral("driftwell"));
    EXPECT_EQ(unreachableText(std::nullopt), QStringLiteral("Can’t reach driftwell"));
}

TEST(ConnectionTextsTest, TheNextAttemptIsCountedInSeconds) {
    EXPECT_EQ(retryText(0), QStringLiteral("retrying in 0s · deploys are paused"));
    EXPECT_EQ(retryText(1), QStringLiteral("retrying in 1s · deploys are paused"));
    EXPECT_EQ(retryText(8), QStringLiteral("retrying in 8s · deploys are paused"));
}

TEST(ConnectionTextsTest, AnOutageIsToldWithItsReasonAndThePort) {
    const QString refused = QStringLiteral("Could not connect to sites.test: Connection refused");
    EXPECT_EQ(outageText(platform, refused), refused + QStringLiteral(" · port 443"));
    EXPECT_EQ(outageText(PlatformConfig(QStringLiteral("http://sites.test:8787")),
                         QStringLiteral("The host sites.test could not be found.")),
              QStringLiteral("The host sites.test could not be found · port 8787"));
}

TEST(ConnectionTextsTest, WithoutAReasonOrAPlatformNothingIsToldOfAnOutage) {
    EXPECT_EQ(outageText(platform, std::nullopt), QString());
    EXPECT_EQ(outageText(std::nullopt, QStringLiteral("Connection refused")), QString());
}

TEST(ConnectionTextsTest, AHostThatCannotBeReadIsTheReason) {
    EXPECT_EQ(outageText(PlatformConfig(QStringLiteral("http://two words")), QStringLiteral("could not be found")),
              QStringLiteral("“two words” is not the host of a platform"));
}

TEST(ConnectionTextsTest, AConnectionThatIsBeingMadeTakesADeploy) {
    EXPECT_TRUE(acceptsDeploys(platform, Status::connecting()));
}

TEST(ConnectionTextsTest, AConnectionTakesADeploy) {
    EXPECT_TRUE(acceptsDeploys(platform, Status::connected()));
}

TEST(ConnectionTextsTest, WithoutAPlatformNothingIsDeployed) {
    for (const Status& status : everyStatus) {
        EXPECT_FALSE(acceptsDeploys(std::nullopt, status));
    }
}

TEST(ConnectionTextsTest, APlatformOutOfReachTakesNoDeploy) {
    EXPECT_FALSE(acceptsDeploys(platform, Status::unreachable(8)));
}

TEST(ConnectionTextsTest, APersonWhoIsNotOnTheTeamCannotDeploy) {
    EXPECT_FALSE(acceptsDeploys(platform, Status::notTeam(QString())));
}

TEST(ConnectionTextsTest, APersonWhoIsSignedOutCannotDeploy) {
    EXPECT_FALSE(acceptsDeploys(platform, Status::signedOut()));
}

TEST(ConnectionTextsTest, NothingIsPausedWhileConnectingOrConnected) {
    EXPECT_FALSE(pausedText(platform, Status::connecting()));
    EXPECT_FALSE(pausedText(platform, Status::connected()));
}

TEST(ConnectionTextsTest, DeploysArePausedWhileThePlatformIsOutOfReach) {
    EXPECT_EQ(pausedText(platform, Status::unreachable(8)),
              QStringLiteral("Deploys are paused while sites.test is unreachable"));
}

TEST(ConnectionTextsTest, DeploysArePausedWithoutAPlatform) {
    EXPECT_EQ(pausedText(std::nullopt, Status::noHost()),
              QStringLiteral("Deploys are paused while driftwell is unreachable"));
}

TEST(ConnectionTextsTest, DeploysArePausedForWhoIsNotOnTheTeam) {
    EXPECT_EQ(pausedText(platform, Status::notTeam(QString())),
              QStringLiteral("Deploys are paused until you sign in to sites.test"));
}

TEST(ConnectionTextsTest, DeploysArePausedForWhoIsSignedOut) {
    EXPECT_EQ(pausedText(platform, Status::signedOut()),
              QStringLiteral("Deploys are paused until you sign in to sites.test"));
}

} // namespace
} // namespace driftwell::tests
