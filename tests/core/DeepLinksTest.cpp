#include "core/DeepLinks.h"

#include "core/Gates.h"
#include "tests/core/CollaborationFixture.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace driftwell::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

/// Which links are followed, and when.
class DeepLinksTest : public ModelFixture {
protected:
    DeepLinksTest() {
        configureRemote();
        reloadConfig();
    }

    void handle(const QString& link) { links.handleDeepLink(QUrl(link, QUrl::StrictMode)); }

    std::vector<std::string> opened;
    std::vector<std::string> refused;
    DeepLinks links{QStringLiteral("driftwell"), model().connection(), model().gates(),
                    [this](const QString& site) { opened.push_back(site.toStdString()); },
                    [this](const QString& reason) {
                        refused.push_back(reason.toStdString());
                    }};
};

TEST_F(DeepLinksTest, ALinkMayHaveItsActionAsHostOrAsPath) {
    for (const char* link : {"driftwell://open?site=garden", "driftwell:///open?site=garden",
                             "driftwell:open?site=garden", "driftwell:/open/?site=garden",
                             "driftwell:////open//?site=garden", "driftwell://open/more?site=garden#part"}) {
        opened.clear();
        handle(QString::fromUtf8(link));
        EXPECT_THAT(opened, ElementsAre("garden")) << link;
    }
    EXPECT_THAT(refused, IsEmpty());
}

class IgnoredLinkTest : public DeepLinksTest, public testing::WithParamInterface<const char*> {};

TEST_P(IgnoredLinkTest, DoesNothingAndSaysNothing) {
    gitIsInstalled = false;
    handle(QString::fromUtf8(GetParam()));
    EXPECT_THAT(opened, IsEmpty());
    EXPECT_THAT(refused, IsEmpty());
    EXPECT_FALSE(links.pendingDeepLink());
    EXPECT_FALSE(model().gates().showGitInstallSheet());
}

INSTANTIATE_TEST_SUITE_P(
    Links, IgnoredLinkTest,
    testing::Values("", "open?site=garden", "//open?site=garden", "https://open?site=garden",
                    "driftwell-dev://open?site=garden", "driftwell://close?site=garden",
                    "driftwell://host/open?site=garden", "driftwell:reopen?site=garden", "driftwell://?site=garden",
                    "driftwell://open", "driftwell://open?", "driftwell://open?site",
                    "driftwell://open?site=", "driftwell://open?name=garden", "driftwell://open?Site=garden",
                    "driftwell://open?site=Garden", "driftwell://open?site=..%2Fgarden", "driftwell://open?site=a%20b",
                    "driftwell://open?site=-garden", "driftwell://open?site&site=garden", "driftwell://open?site=%zz",
                    "driftwell://open?site=gar%00den", "driftwell://open?site=%ff"));

TEST_F(DeepLinksTest, TheFirstOfSeveralItemsCounts) {
    handle(QStringLiteral("driftwell://open?site=garden&site=bakery"));
    EXPECT_THAT(opened, ElementsAre("garden"));
}

TEST_F(DeepLinksTest, ItemsArePercentDecoded) {
    handle(QStringLiteral("driftwell://open?s%69te=gar%64en&host=%1")
               .arg(QString::fromUtf8(QUrl::toPercentEncoding(remoteHost()))));
    EXPECT_THAT(opened, ElementsAre("garden"));
}

TEST_F(DeepLinksTest, ALinkForThePlatformInUseIsFollowed) {
    handle(QStringLiteral("driftwell://open?site=garden&host=") + remoteHost());
    EXPECT_THAT(opened, ElementsAre("garden"));
    EXPECT_THAT(refused, IsEmpty());
}

TEST_F(DeepLinksTest, ALinkForAnotherPlatformIsRefused) {
    handle(QStringLiteral("driftwell://open?site=garden&host=https://sites.example.org"));
    EXPECT_THAT(opened, IsEmpty());
    EXPECT_THAT(refused, ElementsAre("This link is for https://sites.example.org, but the app is connected to " +
                                     config()->host().toStdString() + "."));
}

TEST_F(DeepLinksTest, ThePlatformIsComparedExactly) {
    handle(QStringLiteral("driftwell://open?site=garden&host=%1/").arg(remoteHost()));
    EXPECT_THAT(refused, ElementsAre(StartsWith("This link is for " + remoteHost().toStdString() + "/, but")));
    handle(QStringLiteral("driftwell://open?site=garden&host="));
    EXPECT_THAT(refused, ElementsAre(testing::_, StartsWith("This link is for , but")));
    EXPECT_THAT(opened, IsEmpty());
}

TEST_F(DeepLinksTest, AHostWithoutAValueIsNone) {
    handle(QStringLiteral("driftwell://open?site=garden&host"));
    EXPECT_THAT(opened, ElementsAre("garden"));
}

TEST_F(DeepLinksTest, WithoutAPlatformNothingIsCompared) {
    writeConfig(Json::object());
    reloadConfig();
    handle(QStringLiteral("driftwell://open?site=garden&host=https://sites.example.org"));
    EXPECT_THAT(opened, ElementsAre("garden"));
    EXPECT_THAT(refused, IsEmpty());
}

TEST_F(DeepLinksTest, ALinkThatFindsNoGitWaitsAndIsFollowedOnceGitIsThere) {
    gitIsInstalled = false;
    const QString link = QStringLiteral("driftwell://open?site=garden");
    handle(link);
    EXPECT_THAT(opened, IsEmpty());
    EXPECT_EQ(links.pendingDeepLink(), QUrl(link));
    EXPECT_TRUE(model().gates().showGitInstallSheet());

    model().gates().recheckGitTools();
    EXPECT_THAT(opened, IsEmpty());
    EXPECT_EQ(links.pendingDeepLink(), QUrl(link));
    EXPECT_TRUE(model().gates().showGitInstallSheet());

    gitIsInstalled = true;
    model().gates().recheckGitTools();
    EXPECT_THAT(opened, ElementsAre("garden"));
    EXPECT_FALSE(links.pendingDeepLink());
    EXPECT_FALSE(model().gates().showGitInstallSheet());

    model().gates().recheckGitTools();
    EXPECT_THAT(opened, SizeIs(1));
}

TEST_F(DeepLinksTest, ALinkStillWaitsWhenTheSheetWasPutAway) {
    gitIsInstalled = false;
    handle(QStringLiteral("driftwell://open?site=garden"));
    model().gates().dismissGitInstallSheet();
    EXPECT_TRUE(links.pendingDeepLink());
    gitIsInstalled = true;
    model().gates().recheckGitTools();
    EXPECT_THAT(opened, ElementsAre("garden"));
}

TEST_F(DeepLinksTest, AWaitingLinkIsLookedAtAnewWhenItsTimeComes) {
    gitIsInstalled = false;
    handle(QStringLiteral("driftwell://open?site=garden&host=") + remoteHost());
    ASSERT_TRUE(links.pendingDeepLink());
    usePlatform(PlatformConfig(QStringLiteral("https://sites.example.org")));
    gitIsInstalled = true;
    model().gates().recheckGitTools();
    EXPECT_THAT(opened, IsEmpty());
    EXPECT_THAT(refused, SizeIs(1));
    EXPECT_FALSE(links.pendingDeepLink());
}

TEST_F(DeepLinksTest, ACheckWithoutAWaitingLinkOpensNothing) {
    model().gates().recheckGitTools();
    EXPECT_THAT(opened, IsEmpty());
}

/// What a link that is followed comes to.
class OpenedLinkTest : public CollaborationFixture {
protected:
    void open(const char* site = "garden") {
        model().deepLinks().handleDeepLink(QUrl(QStringLiteral("driftwell://open?site=%1").arg(QLatin1String(site))));
    }

    [[nodiscard]] Path copy(const std::string& site = "garden") const { return folder() / "home/Driftwell" / site; }

    void waitUntilShown(std::size_t times = 1) {
        waitUntil([this, times] { return desktop.shownPaths().size() >= times && isIdle(); });
    }
    [[nodiscard]] bool isIdle() { return collaboration().collabBusy().isEmpty(); }
};

TEST_F(OpenedLinkTest, MakesALinkedCopyInTheHomeAndShowsIt) {
    folder().write("Contents/Helpers/dw", "#!/bin/sh\necho \"$1\" > CLAUDE.md\n");
    ::chmod((folder() / "Contents/Helpers/dw").c_str(), S_IRWXU);
    refreshedModel();
    open();
    EXPECT_TRUE(collaboration().collabBusy().contains("garden"));
    waitUntilShown();
    EXPECT_THAT(desktop.shownPaths(), ElementsAre(copy()));
    EXPECT_EQ(read(copy() / "index.html"), "one\n");
    EXPECT_EQ(read(copy() / "CLAUDE.md"), "init\n");
    EXPECT_EQ(store().folderMap().at("garden"), copy());
    EXPECT_EQ(stateOf("garden"), CollabState::upToDate());
    EXPECT_EQ(collabError(), "(none)");
}

TEST_F(OpenedLinkTest, ShowsACopyThatIsThereAndLeavesItAsItIs) {
    refreshedModel();
    open();
    waitUntilShown();
    platform().push("garden", "echo two > index.html");
    store().saveFolder("garden", work("elsewhere"));
    ChangeLog log(model());
    open();
    waitUntilShown(2);
    waitUntil([this] { return stateOf("garden").has_value(); });
    EXPECT_EQ(read(copy() / "index.html"), "one\n");
    EXPECT_EQ(store().folderMap().at("garden"), copy());
    EXPECT_EQ(log.count("collabBusy"), 0);
}

TEST_F(OpenedLinkTest, TwoInQuickSuccessionMakeOneCopyAndNoFailure) {
    refreshedModel();
    open();
    open();
    waitUntilShown(2);
    EXPECT_THAT(desktop.shownPaths(), ElementsAre(copy(), copy()));
    EXPECT_EQ(collabError(), "(none)");
}

TEST_F(OpenedLinkTest, SaysWhyASiteCannotBeCopied) {
    refreshedModel();
    open("unknown");
    waitUntil([this] { return collabError() != "(none)"; });
    EXPECT_THAT(collabError(), StartsWith("Could not open unknown for editing: "));
    waitUntil([this] { return isIdle(); });
    EXPECT_THAT(desktop.shownPaths(), IsEmpty());
    EXPECT_FALSE(store().folderMap().contains("unknown"));
}

TEST_F(OpenedLinkTest, LeavesAFolderThatIsInTheWayAlone) {
    folder().write("home/Driftwell/garden/notes.txt", "mine");
    refreshedModel();
    open();
    waitUntil([this] { return collabError() != "(none)"; });
    EXPECT_THAT(collabError(), StartsWith("Could not open garden for editing: fatal: destination path"));
    EXPECT_EQ(read(copy() / "notes.txt"), "mine");
}

TEST_F(OpenedLinkTest, WithoutATokenThePlatformRefusesInGitsWords) {
    const std::string host = remoteHost().toStdString();
    writeConfig({{"host", host}});
    reloadConfig();
    open();
    waitUntil([this] { return collabError() != "(none)"; });
    EXPECT_THAT(collabError(), StartsWith("Could not open garden for editing: "));
    EXPECT_FALSE(std::filesystem::exists(copy()));
}

TEST_F(OpenedLinkTest, WithoutAPlatformNothingHappens) {
    writeConfig(Json::object());
    reloadConfig();
    ChangeLog log(model());
    open();
    settle();
    EXPECT_THAT(log.changes(), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(folder() / "home/Driftwell"));
}

TEST_F(OpenedLinkTest, TheEndStopsACopyThatIsBeingMade) {
    refreshedModel();
    const PlatformServer::Hold held = server.holdAnswer("/git/garden/info/refs");
    open();
    waitUntil([&held] { return held.arrived(); });
    await(model().end());
    waitUntil([&held] { return held.abandoned(); });
    EXPECT_THAT(desktop.shownPaths(), IsEmpty());
}

} // namespace
} // namespace driftwell::tests
