#include "ui/window/MainWindowModel.h"

#include "core/Gates.h"
#include "core/SiteOperations.h"
#include "tests/ui/UiFixture.h"

#include <QSignalSpy>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using Content = MainWindowModel::Content;

class MainWindowModelTest : public UiFixture {
protected:
    MainWindowModel& window() {
        if (!m_window) {
            m_window = std::make_unique<MainWindowModel>(model(), desktop);
        }
        return *m_window;
    }

    void TearDown() override {
        m_window.reset();
        UiFixture::TearDown();
    }

    /// Lets one of the operations on a site fail.
    void failRollback(const char* text) {
        server.answer("/api/rollback", 500, errorAnswer(text, "failed"));
        await(model().siteOperations().rollback(*existingSite(QStringLiteral("garden"))));
    }
    void failDelete(const char* text) {
        server.answer("/api/sites/garden", 500, errorAnswer(text, "failed"));
        await(model().siteOperations().deleteSite(*existingSite(QStringLiteral("garden"))));
    }

private:
    std::unique_ptr<MainWindowModel> m_window;
};

// Content

TEST_F(MainWindowModelTest, APersonWhoIsNotOnTheTeamSeesTheSignIn) {
    become(Kind::NotTeam);
    EXPECT_EQ(window().content(), Content::SignIn);
}

TEST_F(MainWindowModelTest, APersonWhoIsSignedOutSeesTheSignIn) {
    become(Kind::SignedOut);
    EXPECT_EQ(window().content(), Content::SignIn);
}

TEST_F(MainWindowModelTest, WithoutAPlatformOneIsAskedFor) {
    become(Kind::NoHost);
    EXPECT_EQ(window().content(), Content::NoHost);
}

TEST_F(MainWindowModelTest, AConnectionWithoutSitesShowsTheEmptyState) {
    connectedWith({});
    EXPECT_EQ(window().content(), Content::EmptyState);
}

TEST_F(MainWindowModelTest, AConnectionWithSitesShowsTheList) {
    become(Kind::Connected);
    EXPECT_EQ(window().content(), Content::SiteList);
}

TEST_F(MainWindowModelTest, AFirstRunShowsTheIntroductionUntilItIsCompleted) {
    const ScopedVariable firstRun("DW_ONBOARDING", "1");
    ASSERT_TRUE(model().gates().needsOnboarding());
    become(Kind::Connected);
    EXPECT_EQ(window().content(), Content::Onboarding);
    ASSERT_NE(window().onboarding(), nullptr);
    model().gates().completeOnboarding();
    EXPECT_EQ(window().content(), Content::SiteList);
    EXPECT_EQ(window().onboarding(), nullptr);
}

TEST_F(MainWindowModelTest, AFirstRunShowsTheIntroductionInEveryState) {
    const ScopedVariable firstRun("DW_ONBOARDING", "1");
    for (const Kind kind : allKinds) {
        become(kind);
        EXPECT_EQ(window().content(), Content::Onboarding);
    }
}

TEST_F(MainWindowModelTest, ALaterRunHasNoIntroduction) {
    become(Kind::Connected);
    EXPECT_EQ(window().onboarding(), nullptr);
}

TEST_F(MainWindowModelTest, AConnectionThatIsBeingMadeShowsTheListAndNotTheEmptyState) {
    become(Kind::Connecting);
    ASSERT_TRUE(sites().isEmpty());
    EXPECT_EQ(window().content(), Content::SiteList);
}

TEST_F(MainWindowModelTest, AFilterWithoutSitesShowsTheListSoThatItCanSayThatNothingMatches) {
    connectedWith({});
    setFilter(QStringLiteral("gar"));
    EXPECT_EQ(window().content(), Content::SiteList);
}

TEST_F(MainWindowModelTest, AnOutageKeepsTheLastKnownListOnScreen) {
    become(Kind::Connected);
    EXPECT_EQ(window().siteList()->sites()->rowCount(), 2);
    become(Kind::Unreachable);
    EXPECT_EQ(window().content(), Content::SiteList);
    EXPECT_EQ(window().siteList()->sites()->rowCount(), 2);
}

TEST_F(MainWindowModelTest, AnOutageWithoutSitesShowsTheList) {
    become(Kind::Unreachable);
    EXPECT_EQ(window().content(), Content::SiteList);
}

TEST_F(MainWindowModelTest, OnlyAChangeOfTheContentIsAnnounced) {
    becomeOnRemote(Kind::Connecting);
    const QSignalSpy changes(&window(), &MainWindowModel::contentChanged);
    await(refresh());
    ASSERT_EQ(status(), Status::connected());
    EXPECT_EQ(changes.count(), 0) << "the list was there before";
    server.answer("/api/sites", 403, errorAnswer(notTeamText, "not_team"));
    await(refresh());
    EXPECT_EQ(changes.count(), 1);
    server.answer("/api/sites", 401, errorAnswer("sign in", "unauthenticated"));
    await(refresh());
    ASSERT_EQ(status(), Status::signedOut());
    EXPECT_EQ(changes.count(), 1) << "it is the sign-in as before";
    writeConfig(Json::object());
    reloadConfig();
    EXPECT_EQ(changes.count(), 2);
}

TEST_F(MainWindowModelTest, TheFilterChangesTheContent) {
    connectedWith({});
    ASSERT_EQ(window().content(), Content::EmptyState);
    const QSignalSpy changes(&window(), &MainWindowModel::contentChanged);
    setFilter(QStringLiteral("gar"));
    EXPECT_EQ(changes.count(), 1);
    setFilter(QString());
    EXPECT_EQ(changes.count(), 2);
}

// Banner

TEST_F(MainWindowModelTest, APlatformOutOfReachHasABanner) {
    become(Kind::Unreachable);
    EXPECT_TRUE(window().banner()->isVisible());
    EXPECT_EQ(window().banner()->title(), QStringLiteral("Can’t reach ") + host());
    EXPECT_EQ(window().banner()->text(), QStringLiteral("retrying in 8s · deploys are paused"));
}

TEST_F(MainWindowModelTest, NoOtherStatusHasABanner) {
    for (const Kind kind : {Kind::NotTeam, Kind::NoHost, Kind::Connecting, Kind::Connected, Kind::SignedOut}) {
        become(kind);
        EXPECT_FALSE(window().banner()->isVisible());
    }
}

TEST_F(MainWindowModelTest, TheBannerCountsDown) {
    configureLocal();
    server.closeWithoutAnswer("/api/me");
    model().start();
    waitUntil([this] { return sleeper.isAsleep(); });
    const QSignalSpy changes(window().banner(), &ConnectionBannerModel::changed);
    EXPECT_EQ(window().banner()->text(), QStringLiteral("retrying in 8s · deploys are paused"));
    sleeper.wake();
    waitUntil([this] { return status() == Status::unreachable(7); });
    EXPECT_EQ(window().banner()->text(), QStringLiteral("retrying in 7s · deploys are paused"));
    EXPECT_EQ(changes.count(), 1);
}

// Dropping

TEST_F(MainWindowModelTest, AHoveringFolderIsWelcomedWhileItCanBeTaken) {
    become(Kind::Connected);
    const QSignalSpy changes(&window(), &MainWindowModel::dropChanged);
    EXPECT_FALSE(window().isDropOverlayVisible());
    window().setDropTargeted(true);
    EXPECT_TRUE(window().isDropTargeted());
    EXPECT_TRUE(window().isDropOverlayVisible());
    window().setDropTargeted(true);
    EXPECT_EQ(changes.count(), 1);
    window().setDropTargeted(false);
    EXPECT_FALSE(window().isDropOverlayVisible());
    EXPECT_EQ(changes.count(), 2);
}

TEST_F(MainWindowModelTest, AHoveringFolderThatCannotBeTakenShowsNothing) {
    for (const Kind kind : {Kind::Unreachable, Kind::NotTeam, Kind::NoHost, Kind::SignedOut}) {
        become(kind);
        window().setDropTargeted(true);
        EXPECT_FALSE(window().canDeploy());
        EXPECT_FALSE(window().isDropOverlayVisible());
    }
}

TEST_F(MainWindowModelTest, WhileTheIntroductionIsShownAHoveringFolderShowsNothing) {
    folder().write("defaults.ini", "[General]\nonboardingCompleted=false\n");
    become(Kind::Connected);
    window().setDropTargeted(true);
    EXPECT_FALSE(window().isDropOverlayVisible());
}

TEST_F(MainWindowModelTest, WhileTheIntroductionIsShownThereIsNoDropEvenWithAWorkingConnection) {
    folder().write("defaults.ini", "[General]\nonboardingCompleted=false\n");
    become(Kind::Connected);
    ASSERT_TRUE(model().gates().needsOnboarding());
    EXPECT_FALSE(window().canDeploy());
    EXPECT_FALSE(window().siteList()->isPaused());
}

TEST_F(MainWindowModelTest, BeforeThePlatformIsKnownThereIsNoDrop) {
    ASSERT_EQ(status(), Status::connecting());
    EXPECT_FALSE(window().canDeploy());
}

TEST_F(MainWindowModelTest, AConnectionTakesADropAlsoWhileItIsBeingMade) {
    for (const Kind kind : {Kind::Connecting, Kind::Connected}) {
        become(kind);
        EXPECT_TRUE(window().canDeploy());
    }
}

TEST_F(MainWindowModelTest, TheWelcomeFollowsTheConnectionWhileTheFolderHovers) {
    become(Kind::Connected);
    window().setDropTargeted(true);
    const QSignalSpy changes(&window(), &MainWindowModel::dropChanged);
    become(Kind::Unreachable);
    EXPECT_FALSE(window().isDropOverlayVisible());
    EXPECT_GE(changes.count(), 1);
    become(Kind::Connected);
    EXPECT_TRUE(window().isDropOverlayVisible());
}

TEST_F(MainWindowModelTest, ADroppedFolderOpensADeployment) {
    become(Kind::Connected);
    window().drop(siteFolder("garden"));
    ASSERT_TRUE(deployFlow());
    EXPECT_EQ(deployFlow()->folder(), siteFolder("garden"));
}

// The sheet of a deployment

TEST_F(MainWindowModelTest, WithoutADeploymentThereIsNoSheet) {
    EXPECT_EQ(window().deploySheet(), nullptr);
}

TEST_F(MainWindowModelTest, ADeploymentHasASheetForAsLongAsItIsOnScreen) {
    become(Kind::Connected);
    const QSignalSpy changes(&window(), &MainWindowModel::deploySheetChanged);
    openDeployment("garden");
    ASSERT_NE(window().deploySheet(), nullptr);
    EXPECT_EQ(window().deploySheet()->siteName(), QStringLiteral("garden"));
    EXPECT_EQ(changes.count(), 1);
    cancelDeploy();
    EXPECT_EQ(window().deploySheet(), nullptr);
    EXPECT_EQ(changes.count(), 2);
}

TEST_F(MainWindowModelTest, AnotherDeploymentHasAnotherSheet) {
    become(Kind::Connected);
    openDeployment("garden")->succeed({});
    const QPointer<DeploySheetModel> first = window().deploySheet();
    ASSERT_TRUE(first);
    openDeployment("bakery");
    ASSERT_NE(window().deploySheet(), nullptr);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(first) << "the first one is gone";
    EXPECT_EQ(window().deploySheet()->siteName(), QStringLiteral("bakery"));
    EXPECT_EQ(window().deploySheet()->phase(), DeploySheetModel::Phase::Confirm);
}

TEST_F(MainWindowModelTest, AWindowThatOpensDuringADeploymentHasItsSheet) {
    become(Kind::Connected);
    openDeployment("garden");
    EXPECT_NE(window().deploySheet(), nullptr);
}

// Alerts

TEST_F(MainWindowModelTest, WithoutAFailureThereIsNoAlert) {
    become(Kind::Connected);
    EXPECT_EQ(window().alert(), nullptr);
    EXPECT_EQ(window().alerts().title(), QString());
    EXPECT_EQ(window().alerts().text(), QString());
}

TEST_F(MainWindowModelTest, AFailedRollbackIsTold) {
    become(Kind::Connected);
    const QSignalSpy changes(&window(), &MainWindowModel::alertChanged);
    failRollback("no such version");
    EXPECT_EQ(window().alerts().title(), QStringLiteral("Rollback failed"));
    EXPECT_EQ(window().alerts().text(), QStringLiteral("no such version"));
    EXPECT_EQ(changes.count(), 1);
}

TEST_F(MainWindowModelTest, AFailedDeleteIsTold) {
    become(Kind::Connected);
    const QSignalSpy changes(&window(), &MainWindowModel::alertChanged);
    failDelete("only its owner may");
    EXPECT_EQ(window().alerts().title(), QStringLiteral("Delete failed"));
    EXPECT_EQ(window().alerts().text(), QStringLiteral("only its owner may"));
    EXPECT_EQ(changes.count(), 1);
}

TEST_F(MainWindowModelTest, DismissingAnAlertClearsItsFailure) {
    become(Kind::Connected);
    failRollback("no such version");
    window().alert()->dismiss();
    EXPECT_EQ(model().siteOperations().rollbackError(), std::nullopt);
    EXPECT_EQ(window().alerts().title(), QString());
    failDelete("only its owner may");
    window().alert()->dismiss();
    EXPECT_EQ(model().siteOperations().deleteError(), std::nullopt);
    EXPECT_EQ(window().alerts().title(), QString());
}

TEST_F(MainWindowModelTest, TwoFailuresAreToldOneAfterTheOther) {
    become(Kind::Connected);
    failDelete("only its owner may");
    failRollback("no such version");
    EXPECT_EQ(window().alerts().title(), QStringLiteral("Rollback failed"));
    EXPECT_EQ(window().alerts().text(), QStringLiteral("no such version"));
    window().alert()->dismiss();
    EXPECT_EQ(window().alerts().title(), QStringLiteral("Delete failed"));
    EXPECT_EQ(window().alerts().text(), QStringLiteral("only its owner may"));
    window().alert()->dismiss();
    EXPECT_EQ(window().alerts().title(), QString());
    EXPECT_EQ(window().alerts().text(), QString());
}

TEST_F(MainWindowModelTest, AFailureWithoutWordsIsToldAllTheSame) {
    become(Kind::Connected);
    failRollback("");
    EXPECT_EQ(window().alerts().title(), QStringLiteral("Rollback failed"));
}

// What the views ask for

TEST_F(MainWindowModelTest, TheHostThatAPersonTypesIsConnectedTo) {
    become(Kind::NoHost);
    answerAll();
    window().setHost(localHost());
    EXPECT_EQ(window().host(), host());
    waitUntil([this] { return status() == Status::connected(); });
}

TEST_F(MainWindowModelTest, WhatIsNoHostIsNotConnectedTo) {
    become(Kind::NoHost);
    const QSignalSpy errors(&window(), &MainWindowModel::hostErrorChanged);
    window().setHost(QStringLiteral(" two words "));
    EXPECT_FALSE(config());
    EXPECT_EQ(window().hostError(), QStringLiteral("“two words” is not the host of a platform"));
    EXPECT_EQ(errors.count(), 1);
    window().clearHostError();
    EXPECT_EQ(window().hostError(), QString());
    EXPECT_EQ(errors.count(), 2);
}

TEST_F(MainWindowModelTest, AnotherPlatformCanBeChosenInEveryState) {
    for (const Kind kind : {Kind::Unreachable, Kind::NotTeam, Kind::SignedOut, Kind::Connected}) {
        become(kind);
        const MainWindowModel::Content before = window().content();
        window().choosePlatform();
        EXPECT_EQ(window().content(), Content::NoHost);
        window().keepPlatform();
        EXPECT_EQ(window().content(), before);
    }
}

TEST_F(MainWindowModelTest, AChosenPlatformEndsTheChoice) {
    become(Kind::SignedOut);
    window().choosePlatform();
    EXPECT_EQ(window().presentPlatform(), remoteHost());
    window().setHost(QStringLiteral("a b"));
    EXPECT_EQ(window().content(), Content::NoHost);
    window().setHost(localHost());
    EXPECT_EQ(window().content(), Content::SiteList);
    EXPECT_FALSE(window().isChoosingPlatform());
    EXPECT_EQ(window().hostError(), QString());
}

TEST_F(MainWindowModelTest, ThePlatformOfBeforeCanBeChosenAgain) {
    become(Kind::SignedOut);
    window().choosePlatform();
    window().setHost(window().presentPlatform());
    EXPECT_FALSE(window().isChoosingPlatform());
    EXPECT_EQ(config()->origin(), remoteHost());
}

TEST_F(MainWindowModelTest, APlatformThatIsChosenElsewhereEndsTheChoice) {
    become(Kind::SignedOut);
    window().choosePlatform();
    setHost(localHost());
    EXPECT_EQ(window().content(), Content::SiteList);
}

// Questions

TEST_F(MainWindowModelTest, WithNothingUnderWayAPersonIsSignedOutAtOnce) {
    becomeOnRemote(Kind::Connected);
    window().toolbar()->signOut();
    EXPECT_EQ(status(), Status::signedOut());
    EXPECT_EQ(window().question(), nullptr);
}

TEST_F(MainWindowModelTest, WithSomethingUnderWayAPersonIsAskedBeforeTheyAreSignedOut) {
    becomeOnRemote(Kind::Connected);
    PlatformServer::Hold held = server.holdAnswer("/api/rollback");
    const Task<> rollback = model().siteOperations().rollback(*existingSite(QStringLiteral("garden")));
    waitUntil([&held] { return held.arrived(); });
    const QSignalSpy changes(&window(), &MainWindowModel::questionChanged);
    window().toolbar()->signOut();
    ASSERT_NE(window().question(), nullptr);
    EXPECT_EQ(status(), Status::connected());
    EXPECT_EQ(window().question()->title(), QStringLiteral("Sign out?"));
    EXPECT_EQ(window().question()->text(),
              QStringLiteral("“garden” is being rolled back.\nWithout your account it may fail."));
    EXPECT_EQ(window().question()->yes(), QStringLiteral("Sign Out"));
    EXPECT_EQ(window().question()->no(), QStringLiteral("Stay Signed In"));
    window().question()->cancel();
    EXPECT_EQ(window().question(), nullptr);
    EXPECT_EQ(status(), Status::connected());
    window().toolbar()->signOut();
    window().question()->confirm();
    EXPECT_EQ(window().question(), nullptr);
    EXPECT_EQ(status(), Status::signedOut());
    EXPECT_EQ(changes.count(), 4);
    held.release();
    waitUntil([this] { return model().siteOperations().rollbacksInFlight().isEmpty(); });
}

TEST_F(MainWindowModelTest, TheQuestionWhetherToQuitTellsWhatIsUnderWayUntilItHasEnded) {
    become(Kind::Connected);
    const QSignalSpy quits(&window(), &MainWindowModel::quitConfirmed);
    PlatformServer::Hold held = server.holdAnswer("/api/rollback");
    const Task<> rollback = model().siteOperations().rollback(*existingSite(QStringLiteral("garden")));
    waitUntil([&held] { return held.arrived(); });
    window().askToQuit();
    WorkQuestion* const question = window().question();
    ASSERT_NE(question, nullptr);
    const QSignalSpy texts(question, &WorkQuestion::textChanged);
    EXPECT_EQ(question->title(), QStringLiteral("Quit Driftwell?"));
    EXPECT_EQ(question->text(), QStringLiteral("“garden” is being rolled back.\nQuitting stops it here."));
    EXPECT_EQ(question->yes(), QStringLiteral("Quit"));
    EXPECT_EQ(question->no(), QStringLiteral("Keep Running"));
    window().askToQuit();
    EXPECT_EQ(window().question(), question) << "it is asked once";
    held.release();
    waitUntil([&texts] { return texts.count() > 0; });
    EXPECT_EQ(question->text(), QStringLiteral("What was under way has ended."));
    EXPECT_EQ(quits.count(), 0);
    question->confirm();
    EXPECT_EQ(quits.count(), 1);
}

TEST_F(MainWindowModelTest, TheSettingsAreTheApplications) {
    become(Kind::Connected);
    const QSignalSpy requests(&window(), &MainWindowModel::settingsRequested);
    window().toolbar()->openSettings();
    EXPECT_EQ(requests.count(), 1);
}

TEST_F(MainWindowModelTest, ThereIsAnExampleOfAHost) {
    EXPECT_EQ(MainWindowModel::exampleHost(), QStringLiteral(DRIFTWELL_EXAMPLE_HOST));
}

TEST_F(MainWindowModelTest, ChoosingAFolderOpensADeploymentOfIt) {
    become(Kind::Connected);
    RecordingDesktopServices::FolderAnswer answer = desktop.expectFolderQuestion();
    window().chooseFolderAndDeploy();
    ASSERT_EQ(desktop.folderQuestions().size(), 1U);
    EXPECT_EQ(desktop.folderQuestions()[0].prompt, "Deploy");
    EXPECT_EQ(desktop.folderQuestions()[0].message, "Choose a folder to deploy to " + host().toStdString());
    answer.succeed(siteFolder("garden"));
    waitUntil([this] { return deployFlow() != nullptr; });
}

} // namespace
} // namespace driftwell::tests
