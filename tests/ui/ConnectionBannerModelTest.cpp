#include "ui/window/ConnectionBannerModel.h"

#include "core/LocalPlatform.h"
#include "tests/ui/UiFixture.h"
#include "tooling/LocalServerController.h"

#include <QSignalSpy>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using Phase = LocalServerPhase;

const Phase idle = Phase::idle();
const Phase building = Phase::building();
const Phase starting = Phase::starting();
const Phase running = Phase::running();
const Phase failed = Phase::failed(QStringLiteral("Error: no pnpm"));

const std::optional<PlatformConfig> local = PlatformConfig(QStringLiteral("http://driftwell.localhost:8787"));
const std::optional<PlatformConfig> remote = PlatformConfig(QStringLiteral("sites.test"));

// Texts as functions of values

TEST(ConnectionBannerTest, AnOutageHasABannerInEveryPhase) {
    for (const Phase& phase : {idle, building, starting, running, failed}) {
        EXPECT_TRUE(ConnectionBannerModel::isVisible(Status::unreachable(8), phase));
    }
}

TEST(ConnectionBannerTest, APlatformOnItsWayUpHasABannerInEveryStatus) {
    for (const Status& status : {Status::connecting(), Status::connected(), Status::signedOut(), Status::noHost()}) {
        EXPECT_TRUE(ConnectionBannerModel::isVisible(status, building));
        EXPECT_TRUE(ConnectionBannerModel::isVisible(status, starting));
        for (const Phase& phase : {idle, running, failed}) {
            EXPECT_FALSE(ConnectionBannerModel::isVisible(status, phase));
        }
    }
}

TEST(ConnectionBannerTest, AnOutageTellsWhenItIsTriedAgain) {
    for (const Phase& phase : {idle, running}) {
        EXPECT_EQ(ConnectionBannerModel::title(phase, remote), QStringLiteral("Can’t reach sites.test"));
        EXPECT_EQ(ConnectionBannerModel::text(phase, remote, 8), QStringLiteral("retrying in 8s · deploys are paused"));
    }
    EXPECT_EQ(ConnectionBannerModel::title(idle, {}), QStringLiteral("Can’t reach driftwell"));
}

TEST(ConnectionBannerTest, WhatIsSpokenIsNotCountedDown) {
    for (const Phase& phase : {idle, running}) {
        EXPECT_EQ(ConnectionBannerModel::spoken(phase, remote), QStringLiteral("deploys are paused"));
    }
    for (const Phase& phase : {building, starting, failed}) {
        EXPECT_EQ(ConnectionBannerModel::spoken(phase, local), ConnectionBannerModel::text(phase, local, 8));
    }
}

TEST(ConnectionBannerTest, APlatformOnItsWayUpTellsHowFarItIs) {
    EXPECT_EQ(ConnectionBannerModel::title(building, local), QStringLiteral("Starting local platform"));
    EXPECT_EQ(ConnectionBannerModel::text(building, local, 0), QStringLiteral("building platform packages…"));
    EXPECT_EQ(ConnectionBannerModel::title(starting, local), QStringLiteral("Starting local platform"));
    EXPECT_EQ(ConnectionBannerModel::text(starting, local, 0), QStringLiteral("waiting for driftwell.localhost:8787"));
}

TEST(ConnectionBannerTest, APlatformThatFailedTellsWhy) {
    EXPECT_EQ(ConnectionBannerModel::title(failed, local), QStringLiteral("Local platform failed"));
    EXPECT_EQ(ConnectionBannerModel::text(failed, local, 8), QStringLiteral("Error: no pnpm"));
    EXPECT_TRUE(ConnectionBannerModel::isBootOffered(failed, local));
}

TEST(ConnectionBannerTest, AStartIsOfferedForALocalPlatformThatIsNotThere) {
    EXPECT_TRUE(ConnectionBannerModel::isBootOffered(idle, local));
    for (const Phase& phase : {building, starting}) {
        EXPECT_FALSE(ConnectionBannerModel::isBootOffered(phase, local));
    }
}

TEST(ConnectionBannerTest, AServerThatWasFoundRunningAndHasSinceDiedIsOfferedNoStart) {
    EXPECT_FALSE(ConnectionBannerModel::isBootOffered(running, local));
}

TEST(ConnectionBannerTest, ARemotePlatformIsOfferedNoStart) {
    EXPECT_FALSE(ConnectionBannerModel::isBootOffered(idle, remote));
    EXPECT_FALSE(ConnectionBannerModel::isBootOffered(failed, remote));
    EXPECT_FALSE(ConnectionBannerModel::isBootOffered(idle, {}));
}

class ConnectionBannerModelTest : public UiFixture {
protected:
    void TearDown() override {
        m_banner.reset();
        UiFixture::TearDown();
    }

    ConnectionBannerModel& banner() {
        if (!m_banner) {
            m_banner = std::make_unique<ConnectionBannerModel>(model().connection(), model().localPlatform(),
                                                               model().localServer(), nullptr);
        }
        return *m_banner;
    }

    /// Remembers a checkout of the platform.
    void configureRepo() {
        Json config = readConfig();
        config["localRepo"] = (folder() / "checkout").string();
        writeConfig(config);
        reloadConfig();
    }

private:
    std::unique_ptr<ConnectionBannerModel> m_banner;
};

TEST_F(ConnectionBannerModelTest, AnOutageShowsItAndItsEndTakesItAway) {
    become(Kind::Connected);
    EXPECT_FALSE(banner().isVisible());
    const QSignalSpy changes(&banner(), &ConnectionBannerModel::changed);
    become(Kind::Unreachable);
    EXPECT_TRUE(banner().isVisible());
    EXPECT_FALSE(banner().isWaiting());
    EXPECT_EQ(banner().title(), QStringLiteral("Can’t reach ") + host());
    EXPECT_EQ(banner().text(), QStringLiteral("retrying in 8s · deploys are paused"));
    EXPECT_GE(changes.count(), 1);
    become(Kind::Connected);
    EXPECT_FALSE(banner().isVisible());
}

TEST_F(ConnectionBannerModelTest, AnOutageHasItsReasonAndCanBeRetried) {
    become(Kind::Unreachable);
    EXPECT_EQ(banner().reason(), QStringLiteral("The connection to localhost was lost · port %1").arg(server.port()));
    EXPECT_TRUE(banner().isRetryOffered());
    EXPECT_FALSE(banner().isRetrying());
    become(Kind::Connected);
    EXPECT_EQ(banner().reason(), QString());
    EXPECT_FALSE(banner().isRetryOffered());
}

TEST_F(ConnectionBannerModelTest, APlatformThatAnsweredWithAnErrorIsSaidToHave) {
    configureLocal();
    server.answer("/api/me", 500, "");
    reloadConfig();
    await(refresh());
    EXPECT_EQ(banner().reason(), QStringLiteral("It answered with an error: HTTP 500 · port %1").arg(server.port()));
}

TEST_F(ConnectionBannerModelTest, ARetryIsOfferedForWhatIsNotBeingStarted) {
    for (const Phase& phase : {idle, running}) {
        EXPECT_TRUE(ConnectionBannerModel::isRetried(Status::unreachable(8), phase));
    }
    for (const Phase& phase : {building, starting, failed}) {
        EXPECT_FALSE(ConnectionBannerModel::isRetried(Status::unreachable(8), phase));
    }
    EXPECT_FALSE(ConnectionBannerModel::isRetried(Status::connecting(), idle));
}

TEST_F(ConnectionBannerModelTest, AnotherPlatformIsOfferedUntilThisOneHasAnswered) {
    become(Kind::Unreachable);
    EXPECT_TRUE(banner().isPlatformChangeOffered());
    become(Kind::Connected);
    EXPECT_FALSE(banner().isPlatformChangeOffered());
    server.closeWithoutAnswer("/api/sites");
    await(refresh());
    ASSERT_EQ(status().kind, Kind::Unreachable);
    EXPECT_FALSE(banner().isPlatformChangeOffered()) << "it is the right one, and out of reach for now";
}

TEST_F(ConnectionBannerModelTest, RetryingAsksThePlatformAtOnce) {
    configureLocal();
    server.closeWithoutAnswer("/api/me");
    model().start();
    waitUntil([this] { return sleeper.isAsleep(); });
    answerAll();
    banner().retryNow();
    waitUntil([this] { return status() == Status::connected(); });
}

TEST_F(ConnectionBannerModelTest, WithoutACheckoutOneIsAskedFor) {
    become(Kind::Unreachable);
    EXPECT_EQ(banner().offer(), QStringLiteral("Run locally…"));
    RecordingDesktopServices::FolderAnswer answer = desktop.expectFolderQuestion();
    banner().acceptOffer();
    ASSERT_EQ(desktop.folderQuestions().size(), 1U);
    EXPECT_EQ(desktop.folderQuestions().front().prompt, "Run Platform");
    answer.succeed(std::nullopt);
}

TEST_F(ConnectionBannerModelTest, WithACheckoutItsPlatformIsStarted) {
    become(Kind::Unreachable);
    const QSignalSpy changes(&banner(), &ConnectionBannerModel::changed);
    configureRepo();
    await(refresh());
    // The folder is no checkout: what was begun by itself fails, and is offered.
    waitUntil([this] { return banner().offer() == QStringLiteral("Start local platform"); });
    EXPECT_GE(changes.count(), 1);
}

TEST_F(ConnectionBannerModelTest, ARemotePlatformWithACheckoutIsOfferedNothing) {
    configureRemote();
    configureRepo();
    server.closeWithoutAnswer("/api/me");
    await(refresh());
    ASSERT_EQ(status().kind, Kind::Unreachable);
    EXPECT_TRUE(banner().isVisible());
    EXPECT_EQ(banner().offer(), QString());
}

} // namespace
} // namespace driftwell::tests
