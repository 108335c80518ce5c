#include "core/Connection.h"
#include "core/SignIn.h"
#include "tests/core/ModelFixture.h"
#include "tests/NoMoreDescriptors.h"

#include <gmock/gmock.h>

#include <chrono>

namespace driftwell::tests {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::Each;
using testing::ElementsAre;
using testing::Eq;
using testing::IsEmpty;
using testing::SizeIs;

class RefreshLoopTest : public ModelFixture {
protected:
    /// Starts the model and waits until it sleeps for the first time.
    void start() {
        model().start();
        waitForSleep(1);
    }

    void waitForSleep(std::size_t number) {
        waitUntil([this, number] { return sleeper.requested().size() >= number && sleeper.isAsleep(); });
        ASSERT_THAT(sleeper.requested(), SizeIs(number));
    }

    /// Ends the sleep under way and waits for the next one.
    void wakeAndWait() {
        const std::size_t number = sleeper.requested().size() + 1;
        sleeper.wake();
        waitForSleep(number);
    }

    void refuseEverything(int status, const std::string& body) {
        for (const char* path : {"/api/me", "/api/sites", "/api/stats", "/api/libs"}) {
            server.answer(path, status, body);
        }
    }
};

TEST_F(RefreshLoopTest, WhileConnectedTenSecondsPassBetweenAttempts) {
    configureLocal();
    answerAll();
    start();
    EXPECT_EQ(status(), Status::connected());
    EXPECT_THAT(sleeper.requested(), ElementsAre(seconds(10)));
    wakeAndWait();
    EXPECT_THAT(sleeper.requested(), ElementsAre(seconds(10), seconds(10)));
    EXPECT_THAT(server.requests("/api/sites"), SizeIs(2));
}

TEST_F(RefreshLoopTest, WithoutAHostTenSecondsPassBetweenLooks) {
    start();
    wakeAndWait();
    EXPECT_EQ(status(), Status::noHost());
    EXPECT_THAT(sleeper.requested(), ElementsAre(seconds(10), seconds(10)));
}

TEST_F(RefreshLoopTest, WithoutAHostTheHostOfTheFileIsNotPickedUpUntilTheConfigurationIsReloaded) {
    answerAll();
    start();
    configureLocal();
    wakeAndWait();
    EXPECT_FALSE(config());
    EXPECT_EQ(status(), Status::noHost());
    EXPECT_THAT(server.requests(), IsEmpty());
    reloadConfig();
    wakeAndWait();
    EXPECT_EQ(status(), Status::connected());
}

TEST_F(RefreshLoopTest, APersonNotOnTheTeamIsTriedAgainEveryFiveSeconds) {
    configureRemote();
    refuseEverything(403, errorAnswer("Not yours", "not_team"));
    start();
    wakeAndWait();
    EXPECT_EQ(status(), Status::notTeam("Not yours"));
    EXPECT_THAT(sleeper.requested(), ElementsAre(seconds(5), seconds(5)));
    EXPECT_THAT(server.requests("/api/me"), SizeIs(2));

    answerAll();
    wakeAndWait();
    EXPECT_EQ(status(), Status::connected()) << "the platform has stopped refusing";
    EXPECT_THAT(namesOf(sites()), ElementsAre("garden", "bakery"));
    EXPECT_EQ(sleeper.requested().back(), seconds(10));
}

TEST_F(RefreshLoopTest, ATokenThatAnotherProcessStoresIsPickedUp) {
    answerAll();
    writeConfig({{"host", remoteHost().toStdString()}});
    start();
    wakeAndWait();
    EXPECT_EQ(status(), Status::signedOut());
    EXPECT_THAT(sleeper.requested(), ElementsAre(seconds(5), seconds(5)));
    EXPECT_THAT(server.requests(), IsEmpty());

    store().saveToken(QString(token), PlatformConfig(remoteHost()));
    wakeAndWait();
    EXPECT_EQ(status(), Status::connected());
    EXPECT_EQ(identity()->name, QStringLiteral("Ada"));
}

TEST_F(RefreshLoopTest, ARefusedTokenOfTheEnvironmentIsTriedAgainEveryFiveSeconds) {
    const ScopedVariable variable("DW_TOKEN", "refused");
    configureRemote();
    refuseEverything(401, "");
    start();
    EXPECT_EQ(status(), Status::signedOut());
    ChangeLog log(model());
    wakeAndWait();
    wakeAndWait();
    EXPECT_THAT(log.changes(), IsEmpty()) << "nothing flickers";
    EXPECT_THAT(sleeper.requested(), ElementsAre(seconds(5), seconds(5), seconds(5)));
    EXPECT_THAT(server.requests("/api/me"), SizeIs(3));
    endModel();
}

TEST_F(RefreshLoopTest, AnUnreachablePlatformIsCountedDownTo) {
    configureLocal();
    answerAll();
    server.answer("/api/sites", 500, "");
    start();
    for (int left = 8; left >= 1; --left) {
        EXPECT_EQ(status(), Status::unreachable(left));
        EXPECT_EQ(sleeper.requested().back(), seconds(1));
        EXPECT_THAT(server.requests("/api/sites"), SizeIs(1)) << "no attempt during the countdown";
        wakeAndWait();
    }
    EXPECT_THAT(server.requests("/api/sites"), SizeIs(2));
    EXPECT_EQ(status(), Status::unreachable(8)) << "the countdown begins again, no longer than before";
    EXPECT_THAT(sleeper.requested(), SizeIs(9));
    EXPECT_THAT(sleeper.requested(), Each(Eq(milliseconds(1000))));
}

TEST_F(RefreshLoopTest, ThePlatformsReturnEndsTheCountdownsForGood) {
    configureLocal();
    connectedModel();
    server.answer("/api/sites", 500, "");
    start();
    EXPECT_EQ(status(), Status::unreachable(8));
    EXPECT_THAT(namesOf(sites()), ElementsAre("garden", "bakery")) << "what was known stays";
    answerAll();
    for (int left = 8; left >= 1; --left) {
        wakeAndWait();
    }
    EXPECT_EQ(status(), Status::connected());
    EXPECT_EQ(sleeper.requested().back(), seconds(10));
}

TEST_F(RefreshLoopTest, TheCountdownOverwritesWhatOthersMakeOfTheStatus) {
    configureLocal();
    answerAll();
    server.answer("/api/sites", 500, "");
    start();
    EXPECT_EQ(status(), Status::unreachable(8));

    answerAll();
    await(refresh());
    EXPECT_EQ(status(), Status::connected());
    wakeAndWait();
    EXPECT_EQ(status(), Status::unreachable(7));

    reloadConfig();
    EXPECT_EQ(status(), Status::connecting());
    wakeAndWait();
    EXPECT_EQ(status(), Status::unreachable(6));

    writeConfig(Json::object());
    reloadConfig();
    for (int left = 5; left >= 1; --left) {
        wakeAndWait();
        EXPECT_EQ(status(), Status::unreachable(left));
    }
    wakeAndWait();
    EXPECT_EQ(status(), Status::noHost()) << "the refresh after the countdown settles it";
}

TEST_F(RefreshLoopTest, TheCountdownOverwritesASignOutUntilItEnds) {
    configureRemote();
    answerAll();
    server.answer("/api/sites", 500, "");
    start();
    model().signIn().signOut();
    EXPECT_EQ(status(), Status::signedOut());
    for (int left = 7; left >= 1; --left) {
        wakeAndWait();
        EXPECT_EQ(status(), Status::unreachable(left));
    }
    wakeAndWait();
    EXPECT_EQ(status(), Status::signedOut());
}

// A person who does not want to wait

TEST_F(RefreshLoopTest, ARetryEndsTheCountdownAtOnce) {
    configureLocal();
    answerAll();
    server.answer("/api/sites", 500, "");
    start();
    wakeAndWait();
    ASSERT_EQ(status(), Status::unreachable(7));
    answerAll();
    model().connection().retryNow();
    waitForSleep(3);
    EXPECT_EQ(status(), Status::connected());
    EXPECT_THAT(sleeper.requested(), ElementsAre(seconds(1), seconds(1), seconds(10)));
    EXPECT_THAT(server.requests("/api/sites"), SizeIs(2));
}

TEST_F(RefreshLoopTest, ARetryThatFailsBeginsTheCountdownAnew) {
    configureLocal();
    answerAll();
    server.answer("/api/sites", 500, "");
    start();
    wakeAndWait();
    model().connection().retryNow();
    waitForSleep(3);
    EXPECT_EQ(status(), Status::unreachable(8));
}

TEST_F(RefreshLoopTest, ItIsKnownThatAPlatformOutOfReachIsBeingAskedAgain) {
    configureLocal();
    answerAll();
    server.answer("/api/sites", 500, "");
    start();
    EXPECT_FALSE(model().connection().isRetrying());
    {
        PlatformServer::Hold held = server.holdAnswer("/api/sites");
        model().connection().retryNow();
        waitUntil([&held] { return held.arrived(); });
        EXPECT_TRUE(model().connection().isRetrying());
        EXPECT_EQ(status(), Status::unreachable(0)) << "it is not waited for any more";
        model().connection().retryNow();
        held.release();
        waitForSleep(2);
    }
    EXPECT_FALSE(model().connection().isRetrying());
    EXPECT_THAT(server.requests("/api/sites"), SizeIs(2)) << "what is under way is not begun again";
}

TEST_F(RefreshLoopTest, TheModelsEndDuringARetryEndsTheLoop) {
    configureLocal();
    refuseEverything(500, "");
    start();
    model().connection().retryNow();
    endModel();
    EXPECT_FALSE(sleeper.isAsleep());
}

// What is known of an outage

TEST_F(RefreshLoopTest, AnOutageHasAReasonUntilItIsOver) {
    configureLocal();
    answerAll();
    server.answer("/api/sites", 500, "");
    start();
    EXPECT_EQ(model().connection().outage(), QStringLiteral("It answered with an error: HTTP 500"));
    EXPECT_FALSE(model().connection().wasReached());
    answerAll();
    model().connection().retryNow();
    waitForSleep(2);
    EXPECT_EQ(model().connection().outage(), std::nullopt);
    EXPECT_TRUE(model().connection().wasReached());
}

TEST_F(RefreshLoopTest, APlatformThatWasReachedIsSoUntilAnotherIsChosen) {
    configureLocal();
    answerAll();
    start();
    ASSERT_TRUE(model().connection().wasReached());
    server.closeWithoutAnswer("/api/sites");
    wakeAndWait();
    ASSERT_EQ(status(), Status::unreachable(8));
    EXPECT_EQ(model().connection().outage(), QStringLiteral("The connection to localhost was lost."));
    EXPECT_TRUE(model().connection().wasReached());
    setHost(QStringLiteral("http://elsewhere.localhost:1"));
    EXPECT_FALSE(model().connection().wasReached());
}

TEST_F(RefreshLoopTest, TheWaitFollowsTheStatusThatTheRefreshLeft) {
    configureRemote();
    answerAll();
    start();
    server.answer("/api/sites", 401, "");
    wakeAndWait();
    EXPECT_EQ(status(), Status::signedOut());
    answerAll();
    store().saveToken(QString(token), PlatformConfig(remoteHost()));
    wakeAndWait();
    server.answer("/api/libs", 403, errorAnswer("Not yours", "not_team"));
    wakeAndWait();
    server.answer("/api/libs", 500, "");
    wakeAndWait();
    EXPECT_THAT(sleeper.requested(), ElementsAre(seconds(10), seconds(5), seconds(10), seconds(5), seconds(1)));
}

TEST_F(RefreshLoopTest, GoesOnAfterATimeInWhichNoDescriptorWasLeft) {
    int looks = 0;
    sleepWith([&looks](std::chrono::milliseconds, std::stop_token stop) {
        ++looks;
        return sleepFor(milliseconds(1), std::move(stop));
    });
    model().start();
    // It is under way, and a sanitizer has met all that takes part, for which it needs descriptors.
    waitUntil([&looks] { return looks > 2; });
    {
        const NoMoreDescriptors exhausted;
        waitUntil([&looks, before = looks] { return looks > before + 3; });
    }
    waitUntil([&looks, before = looks] { return looks > before + 3; });
    endModel();
}

// The end of the model

TEST_F(RefreshLoopTest, TheModelsEndEndsTheSleep) {
    configureLocal();
    answerAll();
    start();
    endModel();
    EXPECT_FALSE(sleeper.isAsleep());
    EXPECT_THAT(sleeper.requested(), SizeIs(1));
    EXPECT_THAT(server.requests("/api/sites"), SizeIs(1));
}

TEST_F(RefreshLoopTest, TheModelsEndEndsTheCountdown) {
    configureLocal();
    refuseEverything(500, "");
    start();
    wakeAndWait();
    EXPECT_EQ(status(), Status::unreachable(7));
    endModel();
    EXPECT_FALSE(sleeper.isAsleep());
    EXPECT_THAT(sleeper.requested(), SizeIs(2));
}

TEST_F(RefreshLoopTest, TheModelsEndAtTheMomentOfWakingEndsTheLoop) {
    configureLocal();
    answerAll();
    start();
    sleeper.wake();
    endModel();
    EXPECT_FALSE(sleeper.isAsleep());
    EXPECT_THAT(sleeper.requested(), SizeIs(1));
    EXPECT_THAT(server.requests("/api/sites"), SizeIs(1));
}

TEST_F(RefreshLoopTest, TheModelsEndAtTheMomentOfWakingEndsTheCountdown) {
    configureLocal();
    refuseEverything(500, "");
    start();
    sleeper.wake();
    endModel();
    EXPECT_FALSE(sleeper.isAsleep());
    EXPECT_THAT(sleeper.requested(), SizeIs(1));
}

class EndDuringRequestTest : public RefreshLoopTest, public testing::WithParamInterface<const char*> {};

TEST_P(EndDuringRequestTest, EndsTheRequestAndTheLoop) {
    configureLocal();
    answerAll();
    const PlatformServer::Hold held = server.holdAnswer(GetParam());
    model().start();
    waitUntil([&held] { return held.arrived(); });
    endModel();
    waitUntil([&held] { return held.abandoned(); });
    EXPECT_THAT(sleeper.requested(), IsEmpty());
}

TEST_P(EndDuringRequestTest, DropsAnAnswerThatComesAtThatMoment) {
    configureLocal();
    answerAll();
    PlatformServer::Hold held = server.holdAnswer(GetParam());
    model().start();
    waitUntil([&held] { return held.arrived(); });
    held.release();
    endModel();
    EXPECT_THAT(sleeper.requested(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Paths, EndDuringRequestTest,
                         testing::Values("/api/me", "/api/sites", "/api/stats", "/api/libs"));

} // namespace
} // namespace driftwell::tests
