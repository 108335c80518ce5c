#include "core/Collaboration.h"

#include "core/Catalog.h"
#include "core/Gates.h"
#include "tests/core/CollaborationFixture.h"

#include <gmock/gmock.h>

#include <chrono>

namespace driftwell::tests {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

using Side = Collaboration::Side;
using Outcome = Collaboration::Outcome;

const QString garden = QStringLiteral("garden");

class CollaborationTest : public CollaborationFixture {
protected:
    /// The publications that ended by themselves.
    std::vector<Outcome> finished;

    AppState& refreshedModel() {
        AppState& refreshed = CollaborationFixture::refreshedModel();
        QObject::connect(&refreshed.collaboration(), &Collaboration::resolvedMergeEnded,
                         [this](const QString& site, const Outcome& outcome) {
                             EXPECT_EQ(site, garden);
                             finished.push_back(outcome);
                         });
        return refreshed;
    }

    void repair(const Path& conflicted) { asTeammate(conflicted, "echo both > index.html"); }

    void waitForSleep() {
        waitUntil([this] { return sleeper.isAsleep(); });
    }

    void waitUntilIdle() {
        waitUntil([this] { return collaboration().collabBusy().isEmpty(); });
    }

    /// What a folder has of the merge that it is in.
    static bool isMerging(const Path& folder) { return std::filesystem::exists(folder / ".git/MERGE_HEAD"); }
};

// Looking

TEST_F(CollaborationTest, AFolderIsLinkedOnceItIsRememberedAndHasVersionControl) {
    EXPECT_FALSE(collaboration().isFolderLinked(garden));
    std::filesystem::create_directories(work("plain"));
    store().saveFolder(garden, work("plain"));
    EXPECT_FALSE(collaboration().isFolderLinked(garden));
    linkedFolder();
    EXPECT_TRUE(collaboration().isFolderLinked(garden));
}

TEST_F(CollaborationTest, ARefreshFindsHowEachLinkedFolderStands) {
    linkedFolder();
    refreshedModel();
    EXPECT_EQ(stateOf("garden"), CollabState::upToDate());
    EXPECT_THAT(collaboration().collabStates(), SizeIs(1));
    platform().push("garden", "echo two > index.html");
    list({shared("garden")});
    await(refresh());
    EXPECT_EQ(stateOf("garden"), CollabState::updatesAvailable());
}

TEST_F(CollaborationTest, ASiteWithoutARememberedFolderHasNoState) {
    linkedCopy("elsewhere");
    refreshedModel();
    EXPECT_THAT(collaboration().collabStates(), IsEmpty());
}

TEST_F(CollaborationTest, AFolderThatIsLinkedToAnotherSiteIsNotLinked) {
    platform().addSite("bakery", "echo bread > index.html");
    store().saveFolder(garden, linkedCopy("other", "bakery"));
    refreshedModel();
    EXPECT_FALSE(stateOf("garden"));
}

TEST_F(CollaborationTest, ASiteWhoseCollaborationIsSwitchedOffLosesItsState) {
    linkedFolder();
    refreshedModel();
    ASSERT_TRUE(stateOf("garden"));
    Json off = shared("garden");
    off["collab"]["enabled"] = false;
    list({off});
    await(refresh());
    EXPECT_FALSE(stateOf("garden"));
    EXPECT_TRUE(collaboration().isFolderLinked(garden));
}

TEST_F(CollaborationTest, AFolderWhoseSettingsAreDamagedNeedsAttention) {
    const Path linked = linkedFolder();
    asTeammate(linked, "echo '[broken' > .git/config");
    refreshedModel();
    ASSERT_TRUE(stateOf("garden"));
    EXPECT_EQ(stateOf("garden")->kind, CollabState::Kind::NeedsAttention);
}

TEST_F(CollaborationTest, WithoutGitTheStatesStayAsTheyWereAndNoSheetAppears) {
    linkedFolder();
    gitIsInstalled = false;
    refreshedModel();
    EXPECT_THAT(collaboration().collabStates(), IsEmpty());
    EXPECT_FALSE(model().gates().showGitInstallSheet());
    EXPECT_FALSE(model().gates().gitToolsConfirmed());
    gitIsInstalled = true;
    await(refresh());
    EXPECT_EQ(stateOf("garden"), CollabState::upToDate());
}

TEST_F(CollaborationTest, GitThatWasSeenOnceIsNotLookedForAgain) {
    refreshedModel();
    EXPECT_EQ(gitProbes, 1);
    EXPECT_TRUE(model().gates().gitToolsConfirmed());
    EXPECT_FALSE(model().gates().gitToolsInstalled().has_value());
    await(refresh());
    EXPECT_EQ(gitProbes, 1);
}

TEST_F(CollaborationTest, WithoutAPlatformTheStatesStayAsTheyWere) {
    await(collaboration().refreshCollabStates());
    EXPECT_THAT(collaboration().collabStates(), IsEmpty());
}

TEST_F(CollaborationTest, ALookThatFindsNothingNewTellsNobody) {
    linkedFolder();
    refreshedModel();
    ChangeLog log(model());
    await(collaboration().refreshCollabStates());
    EXPECT_THAT(log.changes(), IsEmpty());
}

TEST_F(CollaborationTest, ARefreshIsConnectedBeforeItLooksAtFolders) {
    linkedFolder();
    reloadConfig();
    ChangeLog log(model());
    await(refresh());
    const std::vector<std::string>& changes = log.changes();
    const auto connected = std::find(changes.begin(), changes.end(), "status");
    ASSERT_NE(connected, changes.end());
    EXPECT_NE(std::find(connected, changes.end(), "collabStates"), changes.end());
}

TEST_F(CollaborationTest, ALookForAPlatformThatWasLeftMeanwhileChangesNothing) {
    linkedFolder();
    refreshedModel();
    platform().push("garden", "echo two > index.html");
    model().catalog().changeSite(
        garden, [this](SiteInfo& site) { site.collab->head = QString::fromStdString(platform().head("garden")); });
    Task<> look = collaboration().refreshCollabStates();
    usePlatform(PlatformConfig(QStringLiteral("http://127.0.0.1:1")));
    await(std::move(look));
    EXPECT_EQ(stateOf("garden"), CollabState::upToDate());
}

TEST_F(CollaborationTest, ALookThatIsStoppedChangesNothing) {
    linkedFolder();
    refreshedModel();
    asTeammate(work("garden"), "git checkout --quiet -b other");
    std::stop_source stop;
    Task<> look = collaboration().refreshCollabStates(stop.get_token());
    stop.request_stop();
    await(std::move(look));
    EXPECT_EQ(stateOf("garden"), CollabState::upToDate());
}

// Switching collaboration on and off

TEST_F(CollaborationTest, SwitchingOnIsAskedOfThePlatformAndShownAtOnce) {
    refreshedModel();
    server.answer("/api/collab/bakery/enable", 200, R"({"ok":true,"site":"bakery","enabled":true})");
    PlatformServer::Hold list = server.holdAnswer("/api/sites");
    const Task<> switching = collaboration().setCollab(true, QStringLiteral("bakery"));
    waitUntil([&list] { return list.arrived(); });
    EXPECT_EQ(existingSite("bakery")->collab, (SiteCollabInfo{true, std::nullopt}));
    EXPECT_TRUE(collaboration().collabBusy().contains("bakery"));
    list.release();
    waitUntilIdle();
    const auto requests = server.requests("/api/collab/bakery/enable");
    ASSERT_THAT(requests, SizeIs(1));
    EXPECT_EQ(requests[0].method, "POST");
    EXPECT_EQ(requests[0].body, "{}");
    EXPECT_EQ(requests[0].headers.at("content-type"), "application/json");
}

TEST_F(CollaborationTest, SwitchingOnKeepsTheHeadThatIsKnown) {
    refreshedModel();
    const std::optional<QString> head = existingSite("garden")->collab->head;
    server.answer("/api/collab/garden/enable", 200, R"({"ok":true,"site":"garden","enabled":true})");
    server.closeWithoutAnswer("/api/sites");
    await(collaboration().setCollab(true, garden));
    ASSERT_TRUE(head);
    EXPECT_EQ(existingSite("garden")->collab, (SiteCollabInfo{true, head}));
}

TEST_F(CollaborationTest, SwitchingOffTouchesNoFolder) {
    const Path linked = linkedFolder();
    refreshedModel();
    server.answer("/api/collab/garden/enable", 200, R"({"ok":true,"site":"garden","enabled":false})");
    list({siteRecord("garden")});
    await(collaboration().setCollab(false, garden));
    const auto requests = server.requests("/api/collab/garden/enable");
    ASSERT_THAT(requests, SizeIs(1));
    EXPECT_EQ(requests[0].method, "DELETE");
    EXPECT_EQ(requests[0].body, "");
    EXPECT_FALSE(existingSite("garden")->collab);
    EXPECT_FALSE(stateOf("garden"));
    EXPECT_TRUE(collaboration().isFolderLinked(garden));
    EXPECT_EQ(store().folderMap().at(garden), linked);
}

TEST_F(CollaborationTest, ARefusedSwitchSaysWhyAndChangesNothing) {
    refreshedModel();
    server.answer("/api/collab/bakery/enable", 409, errorAnswer("not today", "busy"));
    const auto refreshes = server.requests("/api/sites").size();
    await(collaboration().setCollab(true, QStringLiteral("bakery")));
    EXPECT_EQ(collabError(), "not today");
    EXPECT_FALSE(existingSite("bakery")->collab);
    EXPECT_THAT(collaboration().collabBusy(), IsEmpty());
    EXPECT_THAT(server.requests("/api/sites"), SizeIs(refreshes));
}

TEST_F(CollaborationTest, ASwitchThatSucceedsClearsAnOlderFailure) {
    refreshedModel();
    collaboration().report(QStringLiteral("older"));
    server.answer("/api/collab/garden/enable", 200, R"({"ok":true,"site":"garden","enabled":true})");
    await(collaboration().setCollab(true, garden));
    EXPECT_EQ(collabError(), "(none)");
}

TEST_F(CollaborationTest, WithoutAPlatformNothingIsSwitched) {
    await(collaboration().setCollab(true, garden));
    EXPECT_THAT(server.requests(), IsEmpty());
    EXPECT_EQ(collabError(), "(none)");
}

// Linking

TEST_F(CollaborationTest, LinkingTiesAFolderToItsSiteAndChangesNoFile) {
    folder().write("work/mine/index.html", "my own");
    store().saveFolder(garden, work("mine"));
    refreshedModel();
    collaboration().report(QStringLiteral("older"));
    ChangeLog log(model());
    await(collaboration().linkFolder(garden));
    EXPECT_EQ(stateOf("garden"), CollabState::upToDate());
    EXPECT_EQ(read(work("mine") / "index.html"), "my own");
    EXPECT_EQ(collabError(), "(none)");
    EXPECT_THAT(log.changes(), ElementsAre("collabBusy", "collabError", "collabStates", "collabBusy"));
}

TEST_F(CollaborationTest, AFolderWithVersionControlIsNotLinkedAgain) {
    linkedFolder();
    refreshedModel();
    await(collaboration().linkFolder(garden));
    EXPECT_EQ(collabError(), "the folder already has version control");
}

TEST_F(CollaborationTest, LinkingASiteWithoutARememberedFolderDoesNothing) {
    refreshedModel();
    ChangeLog log(model());
    await(collaboration().linkFolder(garden));
    EXPECT_THAT(log.changes(), IsEmpty());
}

TEST_F(CollaborationTest, LinkingWithoutGitShowsHowToGetIt) {
    folder().write("work/mine/index.html", "my own");
    store().saveFolder(garden, work("mine"));
    gitIsInstalled = false;
    refreshedModel();
    await(collaboration().linkFolder(garden));
    EXPECT_TRUE(model().gates().showGitInstallSheet());
    EXPECT_FALSE(collaboration().isFolderLinked(garden));
    EXPECT_EQ(collabError(), "(none)");
}

// Updating

TEST_F(CollaborationTest, UpdatingBringsInWhatThePlatformHas) {
    const Path linked = linkedFolder();
    platform().push("garden", "echo two > index.html");
    list({shared("garden")});
    refreshedModel();
    collaboration().report(QStringLiteral("older"));
    await(collaboration().updateFolder(garden));
    EXPECT_EQ(read(linked / "index.html"), "two\n");
    EXPECT_EQ(stateOf("garden"), CollabState::upToDate());
    EXPECT_EQ(collabError(), "(none)");
    EXPECT_THAT(collaboration().collabBusy(), IsEmpty());
}

TEST_F(CollaborationTest, UpdatingIntoAConflictShowsIt) {
    const Path linked = linkedFolder();
    platform().push("garden", "echo theirs > index.html");
    asTeammate(linked, "echo mine > index.html");
    list({shared("garden")});
    refreshedModel();
    await(collaboration().updateFolder(garden));
    EXPECT_EQ(collaboration().conflictTarget(), garden);
    EXPECT_EQ(stateOf("garden"), CollabState::conflict({QStringLiteral("index.html")}));
    EXPECT_EQ(collabError(), "(none)");
    collaboration().dismissConflict();
    EXPECT_FALSE(collaboration().conflictTarget());
}

TEST_F(CollaborationTest, AnUpdateThatFailsSaysWhyInGitsWords) {
    linkedFolder();
    refreshedModel();
    const RefusingGit refusing("pull");
    await(collaboration().updateFolder(garden));
    EXPECT_NE(collabError(), "(none)");
    EXPECT_FALSE(collaboration().conflictTarget());
    EXPECT_THAT(collaboration().collabBusy(), IsEmpty());
}

TEST_F(CollaborationTest, UpdatingWithoutGitShowsHowToGetIt) {
    linkedFolder();
    gitIsInstalled = false;
    refreshedModel();
    await(collaboration().updateFolder(garden));
    EXPECT_TRUE(model().gates().showGitInstallSheet());
}

TEST_F(CollaborationTest, WhereThePlatformNamesNobodyNothingIsUpdated) {
    linkedFolder();
    server.answer("/api/me", 200, "null");
    refreshedModel();
    ChangeLog log(model());
    await(collaboration().updateFolder(garden));
    EXPECT_THAT(log.changes(), IsEmpty());
}

// Taking a side

TEST_F(CollaborationTest, KeepingMinePublishesMine) {
    const Path linked = conflictedFolder();
    refreshedModel();
    await(collaboration().resolveConflictTaking(Side::Ours, garden));
    EXPECT_EQ(platform().file("garden", "index.html"), "mine\n");
    EXPECT_EQ(read(linked / "index.html"), "mine\n");
    EXPECT_EQ(stateOf("garden"), CollabState::upToDate());
    EXPECT_THAT(collaboration().collabBusy(), IsEmpty());
}

TEST_F(CollaborationTest, KeepingTheirsPublishesTheirs) {
    const Path linked = conflictedFolder();
    refreshedModel();
    await(collaboration().resolveConflictTaking(Side::Theirs, garden));
    EXPECT_EQ(platform().file("garden", "index.html"), "theirs\n");
    EXPECT_EQ(read(linked / "index.html"), "theirs\n");
}

TEST_F(CollaborationTest, ASideThatIsTakenLeavesAnOlderFailureInPlace) {
    conflictedFolder();
    refreshedModel();
    collaboration().report(QStringLiteral("older"));
    await(collaboration().resolveConflictTaking(Side::Ours, garden));
    EXPECT_EQ(collabError(), "older");
}

TEST_F(CollaborationTest, ASideThatCannotBeTakenSaysWhyAndLeavesTheMerge) {
    const Path linked = conflictedFolder();
    refreshedModel();
    const RefusingGit refusing("checkout");
    await(collaboration().resolveConflictTaking(Side::Ours, garden));
    EXPECT_NE(collabError(), "(none)");
    EXPECT_TRUE(isMerging(linked));
    EXPECT_THAT(collaboration().collabBusy(), IsEmpty());
}

TEST_F(CollaborationTest, TakingASideDoesNotAskForGitFirst) {
    conflictedFolder();
    gitIsInstalled = false;
    refreshedModel();
    await(collaboration().resolveConflictTaking(Side::Ours, garden));
    EXPECT_FALSE(model().gates().showGitInstallSheet());
    EXPECT_EQ(platform().file("garden", "index.html"), "mine\n");
}

// Publishing a repaired conflict

TEST_F(CollaborationTest, ARepairedConflictIsPublishedByItself) {
    const Path linked = conflictedFolder();
    refreshedModel();
    EXPECT_EQ(stateOf("garden"), CollabState::conflict({QStringLiteral("index.html")}));
    repair(linked);
    await(refresh());
    EXPECT_EQ(stateOf("garden"), CollabState::resolved());
    waitForSleep();
    EXPECT_THAT(sleeper.requested(), ElementsAre(milliseconds(1500)));
    EXPECT_TRUE(collaboration().collabBusy().contains(garden));
    EXPECT_TRUE(isMerging(linked));
    sleeper.wake();
    waitUntilIdle();
    EXPECT_FALSE(isMerging(linked));
    EXPECT_EQ(platform().file("garden", "index.html"), "both\n");
    EXPECT_EQ(stateOf("garden"), CollabState::upToDate());
    EXPECT_EQ(collabError(), "(none)");
    EXPECT_THAT(finished, ElementsAre(Outcome::published()));
}

TEST_F(CollaborationTest, TwoRefreshesInQuickSuccessionCompleteOneMerge) {
    const Path linked = conflictedFolder();
    repair(linked);
    reloadConfig();
    Task<> first = refresh();
    Task<> second = refresh();
    await(std::move(first));
    await(std::move(second));
    waitForSleep();
    EXPECT_THAT(sleeper.requested(), SizeIs(1));
    await(refresh());
    EXPECT_THAT(sleeper.requested(), SizeIs(1));
    sleeper.wake();
    waitUntilIdle();
    EXPECT_EQ(asTeammate(platform().repository("garden"), "git rev-list --merges --count main"), "1\n");
    EXPECT_EQ(collabError(), "(none)");
}

TEST_F(CollaborationTest, AMarkerThatComesBackMeanwhileLeavesTheMergeOpen) {
    const Path linked = conflictedFolder();
    repair(linked);
    refreshedModel();
    waitForSleep();
    asTeammate(linked, "printf '<<<<<<< mine\\nboth\\n=======\\n>>>>>>> theirs\\n' > index.html");
    const auto refreshes = server.requests("/api/sites").size();
    sleeper.wake();
    waitUntilIdle();
    EXPECT_TRUE(isMerging(linked));
    EXPECT_EQ(collabError(), "(none)");
    EXPECT_THAT(finished, IsEmpty());
    EXPECT_THAT(server.requests("/api/sites"), SizeIs(refreshes));
    await(refresh());
    EXPECT_EQ(stateOf("garden"), CollabState::conflict({QStringLiteral("index.html")}));
}

TEST_F(CollaborationTest, AMergeThatSomebodyElseHasCommittedMeanwhileIsNoFailure) {
    const Path linked = conflictedFolder();
    repair(linked);
    refreshedModel();
    waitForSleep();
    asTeammate(linked, "git add -A && git commit --quiet --no-edit");
    sleeper.wake();
    waitUntilIdle();
    EXPECT_EQ(collabError(), "(none)");
    EXPECT_THAT(finished, IsEmpty());
}

TEST_F(CollaborationTest, AMergeWhoseFilesCannotBeListedIsNotPublished) {
    const Path linked = conflictedFolder();
    refreshedModel();
    const RefusingGit refusing("ls-files -u");
    await(refresh());
    if (sleeper.isAsleep()) {
        sleeper.wake();
    }
    waitUntilIdle();
    EXPECT_TRUE(isMerging(linked));
    EXPECT_EQ(platform().file("garden", "index.html"), "theirs\n");
}

TEST_F(CollaborationTest, WhatIsBusyIsNotPublishedByItself) {
    const Path linked = conflictedFolder();
    refreshedModel();
    PlatformServer::Hold toggle = server.holdAnswer("/api/collab/garden/enable");
    const Task<> switching = collaboration().setCollab(true, garden);
    waitUntil([&toggle] { return toggle.arrived(); });
    repair(linked);
    await(refresh());
    EXPECT_EQ(stateOf("garden"), CollabState::resolved());
    EXPECT_THAT(sleeper.requested(), IsEmpty());
    await(collaboration().finishResolvedMerge(garden));
    EXPECT_THAT(sleeper.requested(), IsEmpty());
    toggle.release();
    waitUntilIdle();
}

TEST_F(CollaborationTest, AMergeThatCannotBeCommittedSaysWhy) {
    const Path linked = conflictedFolder();
    repair(linked);
    refreshedModel();
    waitForSleep();
    const RefusingGit refusing("commit");
    sleeper.wake();
    waitUntil([this] { return !finished.empty(); });
    EXPECT_EQ(finished.front().kind, CollabEngine::SyncOutcome::Kind::Failed);
    EXPECT_EQ(collabError(), finished.front().text.toStdString());
    EXPECT_TRUE(isMerging(linked));
    waitUntilIdle();
}

TEST_F(CollaborationTest, ARepairedMergeThatCannotBePushedSaysWhyAndKeepsItsCommit) {
    const Path linked = conflictedFolder();
    repair(linked);
    refreshedModel();
    collaboration().report(QStringLiteral("older"));
    waitForSleep();
    const RefusingGit refusing("push");
    sleeper.wake();
    waitUntilIdle();
    EXPECT_NE(collabError(), "older");
    EXPECT_NE(collabError(), "(none)");
    EXPECT_FALSE(isMerging(linked));
    EXPECT_EQ(asTeammate(linked, "git rev-list --merges --count HEAD"), "1\n");
}

// Operations apart

TEST_F(CollaborationTest, OperationsOnOneFolderWaitForEachOther) {
    linkedFolder();
    refreshedModel();
    PlatformServer::Hold first = server.holdAnswer("/git/garden/info/refs");
    PlatformServer::Hold second = server.holdAnswer("/git/garden/info/refs");
    Task<> one = collaboration().updateFolder(garden);
    Task<> other = collaboration().updateFolder(garden);
    waitUntil([&first] { return first.arrived(); });
    // Time enough for the other to get as far, if nothing kept it.
    await(collaboration().refreshCollabStates());
    EXPECT_FALSE(second.arrived());
    first.release();
    await(std::move(one));
    EXPECT_TRUE(collaboration().collabBusy().contains(garden));
    waitUntil([&second] { return second.arrived(); });
    second.release();
    await(std::move(other));
    EXPECT_THAT(collaboration().collabBusy(), IsEmpty());
    EXPECT_EQ(collabError(), "(none)");
}

TEST_F(CollaborationTest, TheEndStopsWhatIsUnderWay) {
    linkedFolder();
    refreshedModel();
    const PlatformServer::Hold held = server.holdAnswer("/git/garden/info/refs");
    collaboration().updateFolder(garden);
    collaboration().updateFolder(garden);
    waitUntil([&held] { return held.arrived(); });
    await(model().end());
    waitUntil([&held] { return held.abandoned(); });
    EXPECT_EQ(collabError(), "(none)");
}

TEST_F(CollaborationTest, TheEndStopsAPublicationThatWaitsForItsMoment) {
    const Path linked = conflictedFolder();
    repair(linked);
    refreshedModel();
    waitForSleep();
    await(model().end());
    EXPECT_FALSE(sleeper.isAsleep());
    EXPECT_TRUE(isMerging(linked));
    EXPECT_THAT(finished, IsEmpty());
}

TEST_F(CollaborationTest, AModelThatGoesLeavesWhatIsUnderWayToEndByItself) {
    linkedFolder();
    refreshedModel();
    const PlatformServer::Hold held = server.holdAnswer("/git/garden/info/refs");
    collaboration().updateFolder(garden);
    waitUntil([&held] { return held.arrived(); });
    endModel();
}

} // namespace
} // namespace driftwell::tests
