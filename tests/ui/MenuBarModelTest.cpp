#include "ui/tray/MenuBarModel.h"

#include "tests/ui/UiFixture.h"
#include "tests/ui/ViewModels.h"

#include <QSignalSpy>

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class MenuBarModelTest : public UiFixture {
protected:
    [[nodiscard]] std::string title() { return menuBarOf(model()).title().toStdString(); }
    [[nodiscard]] std::string header() { return menuBarOf(model()).subtitle().toStdString(); }
    [[nodiscard]] TrayIconKind icon() { return menuBarOf(model()).icon(); }
    [[nodiscard]] AuthAction authAction() { return menuBarOf(model()).authAction(); }
    [[nodiscard]] QList<RecentSite> recentSites(Timestamp now) { return menuBarOf(model()).recentSites(now); }
    [[nodiscard]] std::string hostText() const { return host().toStdString(); }

    void beginDeploying(const std::string& name) { openDeployment(name)->begin(); }
};

// Icon

TEST_F(MenuBarModelTest, TheIconIsTheGlyphWhileNothingIsWrong) {
    for (const Kind kind : {Kind::NoHost, Kind::Connecting, Kind::Connected}) {
        become(kind);
        EXPECT_EQ(icon(), TrayIconKind::Glyph);
    }
}

TEST_F(MenuBarModelTest, TheIconWarnsOfAnOutageAndOfAPersonWhoIsNotLetIn) {
    for (const Kind kind : {Kind::Unreachable, Kind::NotTeam, Kind::SignedOut}) {
        become(kind);
        EXPECT_EQ(icon(), TrayIconKind::Warning);
    }
}

TEST_F(MenuBarModelTest, TheIconPulsesDuringADeployment) {
    become(Kind::Connected);
    const std::shared_ptr<DeployFlow> flow = openDeployment("garden");
    EXPECT_EQ(icon(), TrayIconKind::Glyph) << "it has not been confirmed";
    flow->begin();
    EXPECT_EQ(icon(), TrayIconKind::Pulsing);
    flow->succeed({});
    EXPECT_EQ(icon(), TrayIconKind::Glyph);
}

TEST_F(MenuBarModelTest, TheWarningWinsOverADeployment) {
    become(Kind::Connected);
    beginDeploying("garden");
    become(Kind::Unreachable);
    EXPECT_EQ(icon(), TrayIconKind::Warning);
}

// Header

TEST_F(MenuBarModelTest, AnOutageNamesTheHostAndTheNextAttempt) {
    become(Kind::Unreachable);
    EXPECT_EQ(title(), "Can’t reach " + hostText());
    EXPECT_EQ(header(), "retrying in 8s · deploys are paused");
}

TEST_F(MenuBarModelTest, APersonWhoIsNotOnTheTeamIsNamed) {
    become(Kind::NotTeam);
    EXPECT_EQ(title(), "Not a team account");
    EXPECT_EQ(header(), "ada@sites.test");
}

TEST_F(MenuBarModelTest, APersonWhoIsNotOnTheTeamAndNotKnownIsToldTheHost) {
    configureLocal();
    server.answer("/api/me", 403, errorAnswer(notTeamText, "not_team"));
    reloadConfig();
    await(refresh());
    ASSERT_EQ(status().kind, Kind::NotTeam);
    EXPECT_EQ(header(), hostText());
}

TEST_F(MenuBarModelTest, WithoutAPlatformTheWindowIsPointedTo) {
    become(Kind::NoHost);
    EXPECT_EQ(title(), "No platform configured");
    EXPECT_EQ(header(), "open Driftwell to connect");
}

TEST_F(MenuBarModelTest, APersonWhoIsSignedOutIsToldWhere) {
    become(Kind::SignedOut);
    EXPECT_EQ(title(), "Not signed in");
    EXPECT_EQ(header(), "127.0.0.1:" + std::to_string(server.port()) + " · sign in to see your sites");
}

TEST_F(MenuBarModelTest, AConnectionNamesThePerson) {
    become(Kind::Connected);
    EXPECT_EQ(title(), "Connected as ada@sites.test");
    EXPECT_EQ(header(), hostText() + " · 2 sites");
}

TEST_F(MenuBarModelTest, WhileNobodyIsKnownItIsConnecting) {
    become(Kind::Connecting);
    EXPECT_EQ(title(), "Connecting…");
    EXPECT_EQ(header(), hostText() + " · 0 sites");
}

TEST_F(MenuBarModelTest, AKnownPersonIsNamedWhileConnectingAgain) {
    become(Kind::Connected);
    become(Kind::Connecting);
    EXPECT_EQ(title(), "Connected as ada@sites.test");
}

TEST_F(MenuBarModelTest, AConnectionToAPlatformThatKnowsNobodyIsStillConnecting) {
    configureLocal();
    answerAll();
    server.answer("/api/me", 200, "null");
    reloadConfig();
    await(refresh());
    ASSERT_EQ(status(), Status::connected());
    EXPECT_EQ(title(), "Connecting…");
}

TEST_F(MenuBarModelTest, OneSiteTakesTheSingular) {
    connectedWith({"garden"});
    EXPECT_EQ(header(), hostText() + " · 1 site");
}

TEST_F(MenuBarModelTest, NoSitesTakeThePlural) {
    connectedWith({});
    EXPECT_EQ(header(), hostText() + " · 0 sites");
}

TEST_F(MenuBarModelTest, ADeploymentIsCounted) {
    connectedWith({"garden"});
    beginDeploying("garden");
    EXPECT_EQ(header(), hostText() + " · 1 site · 1 deploying");
}

// The account

TEST_F(MenuBarModelTest, ALocalPlatformHasNoAccountToManage) {
    for (const Kind kind : {Kind::Unreachable, Kind::NotTeam, Kind::Connecting, Kind::Connected}) {
        become(kind);
        EXPECT_EQ(authAction(), AuthAction::None);
    }
    const MenuBarModel menuBar = menuBarOf(model());
    EXPECT_EQ(menuBar.authTitle(), QString());
}

TEST_F(MenuBarModelTest, WithoutAPlatformThereIsNoAccount) {
    become(Kind::NoHost);
    EXPECT_EQ(authAction(), AuthAction::None);
}

TEST_F(MenuBarModelTest, APersonWhoIsSignedInCanSignOut) {
    for (const Kind kind : {Kind::Unreachable, Kind::Connecting, Kind::Connected}) {
        becomeOnRemote(kind);
        EXPECT_EQ(authAction(), AuthAction::SignOut);
    }
    const MenuBarModel menuBar = menuBarOf(model());
    EXPECT_EQ(menuBar.authTitle(), QStringLiteral("Sign out"));
}

TEST_F(MenuBarModelTest, ASignOutMayBeTakenOverByAQuestion) {
    becomeOnRemote(Kind::Connected);
    MenuBarModel menuBar = menuBarOf(model());
    bool isTakenOver = true;
    int questions = 0;
    menuBar.askBeforeSignOut([&] {
        ++questions;
        return isTakenOver;
    });
    menuBar.runAuthAction();
    EXPECT_EQ(status(), Status::connected());
    isTakenOver = false;
    menuBar.runAuthAction();
    EXPECT_EQ(status(), Status::signedOut());
    EXPECT_EQ(questions, 2);
}

TEST_F(MenuBarModelTest, APersonWhoIsNotLetInCanSignIn) {
    for (const Kind kind : {Kind::NotTeam, Kind::SignedOut}) {
        becomeOnRemote(kind);
        EXPECT_EQ(authAction(), AuthAction::SignIn);
    }
    const MenuBarModel menuBar = menuBarOf(model());
    EXPECT_EQ(menuBar.authTitle(), QStringLiteral("Sign in…"));
}

// Recent sites

TEST_F(MenuBarModelTest, TheSitesThatWereDeployedLastComeFirst) {
    connectedWithRecords({siteRecord("old", "2026-03-01T08:00:00Z"), siteRecord("never"),
                          siteRecord("new", "2026-03-01T09:55:00Z"), siteRecord("odd", "yesterday")});
    const Timestamp present = *timestampFromIso(u"2026-03-01T10:00:00Z");
    EXPECT_THAT(recentSites(present), ElementsAre(RecentSite{QStringLiteral("new"), QStringLiteral("5m"), false},
                                                  RecentSite{QStringLiteral("old"), QStringLiteral("2h"), false},
                                                  RecentSite{QStringLiteral("never"), QStringLiteral("—"), false},
                                                  RecentSite{QStringLiteral("odd"), QStringLiteral("—"), false}));
}

TEST_F(MenuBarModelTest, WithoutSitesThereAreNoRecentOnes) {
    connectedWith({});
    EXPECT_THAT(recentSites(now()), IsEmpty());
}

TEST_F(MenuBarModelTest, TheSiteThatIsBeingDeployedIsMarked) {
    connectedWith({"garden", "bakery"});
    beginDeploying("garden");
    const QList<RecentSite> rows = recentSites(now());
    ASSERT_EQ(rows.size(), 2);
    EXPECT_TRUE(rows[0].deploying);
    EXPECT_FALSE(rows[1].deploying);
}

TEST_F(MenuBarModelTest, ARecentSiteIsOpened) {
    connectedWithRecords({siteRecord("old", "2026-03-01T08:00:00Z"), siteRecord("new", "2026-03-01T09:55:00Z")});
    MenuBarModel menuBar = menuBarOf(model());
    menuBar.openSite(1);
    EXPECT_THAT(desktop.openedUrls(), ElementsAre("https://old.sites.test"));
}

TEST_F(MenuBarModelTest, ASiteWhoseFolderIsKnownIsPublishedAgainInTheWindow) {
    connectedWith({"garden", "bakery"});
    store().saveFolder(QStringLiteral("bakery"), siteFolder("source"));
    MenuBarModel menuBar = menuBarOf(model());
    const QList<RecentSite> rows = menuBar.recentSites(now());
    ASSERT_EQ(rows.size(), 2);
    const bool isFirst = rows[0].name == QStringLiteral("bakery");
    EXPECT_EQ(rows[0].publishable, isFirst);
    EXPECT_EQ(rows[1].publishable, !isFirst);
    const QSignalSpy windows(&menuBar, &MenuBarModel::windowRequested);
    menuBar.publishAgain(isFirst ? 0 : 1);
    EXPECT_EQ(windows.count(), 1);
    ASSERT_TRUE(deployFlow());
    EXPECT_EQ(deployFlow()->folder(), siteFolder("source"));
    EXPECT_EQ(deployFlow()->siteName(), QStringLiteral("bakery"));
    EXPECT_FALSE(menuBar.recentSites(now())[isFirst ? 0 : 1].publishable) << "another deployment is open";
}

TEST_F(MenuBarModelTest, WhileThePlatformIsOutOfReachNoSiteIsPublishedAgain) {
    connectedWith({"garden"});
    rememberFolder("garden", siteFolder("source"));
    EXPECT_TRUE(recentSites(now()).first().publishable);
    become(Kind::Unreachable);
    EXPECT_FALSE(recentSites(now()).first().publishable);
}

TEST_F(MenuBarModelTest, ARowThatIsGoneDoesNothing) {
    connectedWith({"garden"});
    MenuBarModel menuBar = menuBarOf(model());
    menuBar.openSite(-1);
    menuBar.openSite(1);
    EXPECT_THAT(desktop.openedUrls(), IsEmpty());
}

TEST_F(MenuBarModelTest, ASiteWithAnAddressThatIsNoneForABrowserIsNotOpened) {
    Json strange = siteRecord("garden");
    strange["url"] = "file:///etc/passwd";
    connectedWithRecords({strange});
    MenuBarModel menuBar = menuBarOf(model());
    menuBar.openSite(0);
    EXPECT_THAT(desktop.openedUrls(), IsEmpty());
}

// Following

TEST_F(MenuBarModelTest, ItFollowsTheModel) {
    const MenuBarModel menuBar = menuBarOf(model());
    const auto changesDuring = [&menuBar](const std::function<void()>& act) {
        const QSignalSpy changes(&menuBar, &MenuBarModel::changed);
        act();
        return changes.count();
    };
    EXPECT_GE(changesDuring([this] { become(Kind::Connecting); }), 1);
    EXPECT_GE(changesDuring([this] { become(Kind::Connected); }), 1);
    EXPECT_GE(changesDuring([this] { await(refresh()); }), 1) << "ages grow with each refresh";
    const std::shared_ptr<DeployFlow> flow = openDeployment("garden");
    EXPECT_EQ(changesDuring([&flow] { flow->begin(); }), 1);
    EXPECT_EQ(changesDuring([&flow] { flow->succeed({}); }), 1);
}

TEST_F(MenuBarModelTest, TheDotFollowsTheStatus) {
    const MenuBarModel menuBar = menuBarOf(model());
    become(Kind::Connected);
    EXPECT_EQ(menuBar.statusTone(), Tone::Accent);
    become(Kind::Unreachable);
    EXPECT_EQ(menuBar.statusTone(), Tone::Danger);
}

TEST_F(MenuBarModelTest, TheWindowAndTheEndAreAskedForBySignals) {
    MenuBarModel menuBar = menuBarOf(model());
    const QSignalSpy windows(&menuBar, &MenuBarModel::windowRequested);
    const QSignalSpy ends(&menuBar, &MenuBarModel::quitRequested);
    menuBar.openWindow();
    EXPECT_EQ(windows.count(), 1);
    menuBar.quit();
    EXPECT_EQ(ends.count(), 1);
}

} // namespace
} // namespace driftwell::tests
