#include "core/Catalog.h"
#include "core/Deployments.h"
#include "core/Gates.h"
#include "deploy/DeployFlow.h"
#include "tests/core/CollaborationFixture.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace driftwell::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

const QString garden = QStringLiteral("garden");

/// Deployments of sites that are worked on through git.
class LinkedDeployTest : public CollaborationFixture {
protected:
    LinkedDeployTest() {
        server.answer(
            "/api/deploy", 200,
            R"({"ok":true,"site":"garden","url":"https://garden.sites.test","bytes":4,"files":1,"skipped":0})");
    }

    /// Opens a deployment of a folder to the site, and waits for its figures.
    std::shared_ptr<DeployFlow> begin(const Path& path) {
        model().deployments().beginDeploy(path);
        const std::shared_ptr<DeployFlow> flow = deployFlow();
        flow->setSiteName(garden);
        waitUntil([&flow] { return flow->byteCount().has_value(); });
        return flow;
    }

    /// The same, confirmed and ended, with what follows.
    std::shared_ptr<DeployFlow> deploy(const Path& path) {
        std::shared_ptr<DeployFlow> flow = begin(path);
        await(model().deployments().confirmDeploy());
        return flow;
    }

    static bool succeeded(const DeployFlow& flow) { return std::holds_alternative<DeployFlow::Success>(flow.phase()); }

    static std::string failureOf(const DeployFlow& flow) {
        const DeployFlow::Phase phase = flow.phase();
        const auto* const failure = std::get_if<DeployFlow::Failure>(&phase);
        return failure ? failure->message.toStdString() : "(none)";
    }

    [[nodiscard]] std::size_t uploads() const { return server.requests("/api/deploy").size(); }

    /// A folder with other files than the linked one, which has no version control.
    Path plainFolder(const std::string& name = "plain") {
        folder().write("work/" + name + "/index.html", "dropped");
        folder().write("work/" + name + "/sub/page.html", "new");
        return work(name);
    }

    /// A tool that writes down what it was called with, as the bundle has one.
    void installTool() {
        folder().write("Contents/Helpers/dw", "#!/bin/sh\necho \"$1 $DW_HOST $DW_TOKEN\" > CLAUDE.md\n");
        ::chmod((folder() / "Contents/Helpers/dw").c_str(), S_IRWXU);
    }
};

TEST_F(LinkedDeployTest, ALinkedSiteIsMergedAndNothingIsUploaded) {
    const Path linked = linkedFolder();
    platform().push("garden", "echo theirs > theirs.html");
    refreshedModel();
    folder().write("work/garden/mine.html", "mine\n");
    const std::shared_ptr<DeployFlow> flow = begin(linked);
    std::vector<DeployStage> stages;
    QObject::connect(flow.get(), &DeployFlow::stageChanged, [&] { stages.push_back(flow->stage()); });
    const auto refreshes = server.requests("/api/sites").size();
    Task<> work = model().deployments().confirmDeploy();
    EXPECT_TRUE(flow->isDeploying());
    EXPECT_EQ(flow->stage(), DeployStage::packing());
    EXPECT_TRUE(flow->startedAt());
    await(std::move(work));
    ASSERT_TRUE(succeeded(*flow)) << failureOf(*flow);
    EXPECT_THAT(stages, ElementsAre(DeployStage::publishing()));
    EXPECT_EQ(platform().file("garden", "mine.html"), "mine\n");
    EXPECT_EQ(platform().file("garden", "theirs.html"), "theirs\n");
    EXPECT_EQ(read(linked / "theirs.html"), "theirs\n");
    EXPECT_EQ(uploads(), 0U);
    EXPECT_THAT(server.requests("/api/sites"), SizeIs(refreshes + 1));
    EXPECT_TRUE(flow->finishedAt());
}

TEST_F(LinkedDeployTest, WhatIsShownOfItComesFromTheSiteAndTheFirstScan) {
    const Path linked = linkedFolder();
    refreshedModel();
    const std::shared_ptr<DeployFlow> flow = begin(linked);
    folder().write("work/garden/later.html", "not counted");
    await(model().deployments().confirmDeploy());
    ASSERT_TRUE(succeeded(*flow)) << failureOf(*flow);
    const DeployFlow::Phase phase = flow->phase();
    const DeployResponse response = std::get<DeployFlow::Success>(phase).response;
    EXPECT_TRUE(response.ok);
    EXPECT_EQ(response.site, garden);
    EXPECT_EQ(response.url, existingSite(garden)->url);
    EXPECT_EQ(response.files, 1);
    EXPECT_EQ(response.bytes, 4);
    EXPECT_EQ(response.skipped, 0);
}

TEST_F(LinkedDeployTest, TheHistoryOnScreenIsLoadedAgain) {
    const Path linked = linkedFolder();
    refreshedModel();
    model().catalog().setExpandedSite(garden);
    server.answer("/api/logs/garden", 200, R"({"site":"garden","entries":[]})");
    deploy(linked);
    EXPECT_THAT(server.requests("/api/logs/garden"), SizeIs(1));
}

TEST_F(LinkedDeployTest, TheInstructionsForAgentsAreWrittenIntoTheLinkedFolder) {
    installTool();
    const Path linked = linkedFolder();
    refreshedModel();
    const Path dropped = plainFolder();
    const std::shared_ptr<DeployFlow> flow = deploy(dropped);
    EXPECT_TRUE(flow->skillsWritten());
    EXPECT_EQ(read(linked / "CLAUDE.md"), "init " + remoteHost().toStdString() + " " + GitPlatform::token + "\n");
    EXPECT_FALSE(std::filesystem::exists(dropped / "CLAUDE.md"));
}

TEST_F(LinkedDeployTest, AnUploadIsFollowedByTheInstructionsForAgents) {
    installTool();
    refreshedModel();
    const Path dropped = plainFolder("bakery");
    model().deployments().beginDeploy(dropped);
    const std::shared_ptr<DeployFlow> flow = deployFlow();
    EXPECT_FALSE(flow->skillsWritten());
    await(model().deployments().confirmDeploy());
    ASSERT_TRUE(succeeded(*flow)) << failureOf(*flow);
    EXPECT_EQ(uploads(), 1U);
    EXPECT_TRUE(flow->skillsWritten());
    EXPECT_TRUE(std::filesystem::exists(dropped / "CLAUDE.md"));
}

TEST_F(LinkedDeployTest, WithoutTheToolNothingIsSaidOfInstructions) {
    const Path linked = linkedFolder();
    refreshedModel();
    const std::shared_ptr<DeployFlow> flow = deploy(linked);
    EXPECT_TRUE(succeeded(*flow));
    EXPECT_FALSE(flow->skillsWritten());
}

TEST_F(LinkedDeployTest, AConflictClosesTheDeploymentAndIsShownInItsPlace) {
    const Path linked = linkedFolder();
    platform().push("garden", "echo theirs > index.html");
    refreshedModel();
    folder().write("work/garden/index.html", "mine\n");
    deploy(linked);
    EXPECT_FALSE(deployFlow());
    EXPECT_EQ(collaboration().conflictTarget(), garden);
    EXPECT_EQ(stateOf("garden"), CollabState::conflict({QStringLiteral("index.html")}));
    EXPECT_EQ(uploads(), 0U);
    EXPECT_EQ(platform().file("garden", "index.html"), "theirs\n");
}

TEST_F(LinkedDeployTest, AFailureIsShownInGitsWordsAndCanBeRetried) {
    const Path linked = linkedFolder();
    refreshedModel();
    std::shared_ptr<DeployFlow> flow;
    {
        const RefusingGit refusing("push");
        flow = deploy(linked);
    }
    EXPECT_NE(failureOf(*flow), "(none)");
    EXPECT_FALSE(flow->finishedAt());
    EXPECT_EQ(uploads(), 0U);
    flow->retry();
    await(model().deployments().confirmDeploy());
    EXPECT_TRUE(succeeded(*flow)) << failureOf(*flow);
}

TEST_F(LinkedDeployTest, WithoutGitTheDeploymentGivesWayToTheSheetThatExplainsIt) {
    const Path linked = linkedFolder();
    refreshedModel();
    ASSERT_TRUE(model().gates().gitToolsConfirmed());
    // Only a model that has not seen git in its run asks for it.
    endModel();
    gitIsInstalled = false;
    refreshedModel();
    deploy(linked);
    EXPECT_FALSE(deployFlow());
    EXPECT_TRUE(model().gates().showGitInstallSheet());
    EXPECT_EQ(uploads(), 0U);
}

TEST_F(LinkedDeployTest, WhereThePlatformNamesNobodyTheDeploymentStaysAsItIs) {
    const Path linked = linkedFolder();
    server.answer("/api/me", 200, "null");
    refreshedModel();
    const std::shared_ptr<DeployFlow> flow = deploy(linked);
    EXPECT_TRUE(flow->isConfirming());
    EXPECT_EQ(deployFlow(), flow);
    EXPECT_EQ(uploads(), 0U);
}

// Which folder, and whether it is linked

TEST_F(LinkedDeployTest, AnotherFolderIsCopiedIntoTheLinkedOne) {
    const Path linked = linkedFolder();
    folder().write("work/garden/kept.html", "kept");
    refreshedModel();
    const Path dropped = plainFolder();
    folder().write("work/plain/.hidden", "no");
    folder().write("work/plain/node_modules/x", "no");
    const std::shared_ptr<DeployFlow> flow = deploy(dropped);
    ASSERT_TRUE(succeeded(*flow)) << failureOf(*flow);
    EXPECT_EQ(platform().file("garden", "index.html"), "dropped");
    EXPECT_EQ(platform().file("garden", "sub/page.html"), "new");
    EXPECT_EQ(platform().file("garden", "kept.html"), "kept");
    EXPECT_FALSE(std::filesystem::exists(dropped / ".git"));
    EXPECT_FALSE(std::filesystem::exists(linked / ".hidden"));
    EXPECT_FALSE(std::filesystem::exists(linked / "node_modules"));
    EXPECT_FALSE(std::filesystem::exists(linked / ".git/driftwell-copy"));
    EXPECT_EQ(store().folderMap().at(garden), linked);
    EXPECT_EQ(uploads(), 0U);
}

TEST_F(LinkedDeployTest, WhatTheLinkedFolderHadUnpublishedIsInItsHistory) {
    linkedFolder();
    folder().write("work/garden/index.html", "an afternoon's work\n");
    refreshedModel();
    const std::shared_ptr<DeployFlow> flow = deploy(plainFolder());
    ASSERT_TRUE(succeeded(*flow)) << failureOf(*flow);
    EXPECT_EQ(platform().file("garden", "index.html"), "dropped");
    EXPECT_EQ(asTeammate(platform().repository("garden"), "git show main~1:index.html"), "an afternoon's work\n");
}

TEST_F(LinkedDeployTest, AFolderThatCannotBeCopiedIsNotPublished) {
    linkedFolder();
    refreshedModel();
    const std::string before = platform().head("garden");
    std::filesystem::create_directories(work("empty"));
    const std::shared_ptr<DeployFlow> flow = deploy(work("empty"));
    EXPECT_EQ(failureOf(*flow), "folder has no deployable files");
    EXPECT_EQ(platform().head("garden"), before);
    EXPECT_EQ(uploads(), 0U);
}

TEST_F(LinkedDeployTest, ACopyFollowsNoLinkOutOfTheLinkedFolder) {
    const Path linked = linkedFolder();
    std::filesystem::create_directories(work("elsewhere"));
    std::filesystem::create_directory_symlink(work("elsewhere"), linked / "sub");
    refreshedModel();
    const std::shared_ptr<DeployFlow> flow = deploy(plainFolder());
    EXPECT_NE(failureOf(*flow), "(none)");
    EXPECT_THAT(entryCount(work("elsewhere")), 0U);
}

TEST_F(LinkedDeployTest, ACopyReplacesNoFolderByAFile) {
    linkedFolder();
    folder().write("work/garden/sub/page.html/deep", "kept");
    refreshedModel();
    const std::shared_ptr<DeployFlow> flow = deploy(plainFolder());
    EXPECT_NE(failureOf(*flow), "(none)");
    EXPECT_EQ(read(work("garden") / "sub/page.html/deep"), "kept");
}

TEST_F(LinkedDeployTest, TheLinkedFolderIsKnownHoweverItsPathIsWritten) {
    const Path linked = linkedFolder();
    std::filesystem::create_directory_symlink(work("garden"), work("shortcut"));
    store().saveFolder(garden, work("shortcut") / "." / ".." / "shortcut");
    refreshedModel();
    struct stat before {};
    ASSERT_EQ(::stat((linked / "index.html").c_str(), &before), 0);
    const std::shared_ptr<DeployFlow> flow = deploy(linked);
    ASSERT_TRUE(succeeded(*flow)) << failureOf(*flow);
    struct stat after {};
    ASSERT_EQ(::stat((linked / "index.html").c_str(), &after), 0);
    EXPECT_EQ(before.st_ino, after.st_ino);
}

TEST_F(LinkedDeployTest, AFolderIsNotCopiedOverAConflict) {
    const Path linked = conflictedFolder();
    refreshedModel();
    const std::string before = read(linked / "index.html");
    deploy(plainFolder());
    EXPECT_FALSE(deployFlow());
    EXPECT_EQ(collaboration().conflictTarget(), garden);
    EXPECT_EQ(read(linked / "index.html"), before);
}

TEST_F(LinkedDeployTest, AFolderIsCopiedOverARepairedMergeOnceThatIsCommitted) {
    const Path linked = conflictedFolder();
    asTeammate(linked, "echo both > index.html");
    reloadConfig();
    await(refresh());
    const std::shared_ptr<DeployFlow> flow = deploy(plainFolder());
    ASSERT_TRUE(succeeded(*flow)) << failureOf(*flow);
    EXPECT_EQ(platform().file("garden", "index.html"), "dropped");
    EXPECT_EQ(asTeammate(platform().repository("garden"), "git show main~1:index.html"), "both\n");
    sleeper.wake();
    waitUntil([this] { return collaboration().collabBusy().isEmpty(); });
    EXPECT_EQ(collabError(), "(none)");
}

TEST_F(LinkedDeployTest, AFolderThatWasNotLookedAtYetIsMergedAllTheSame) {
    const Path linked = linkedFolder();
    gitIsInstalled = false;
    refreshedModel();
    ASSERT_THAT(collaboration().collabStates(), IsEmpty());
    gitIsInstalled = true;
    folder().write("work/garden/mine.html", "mine");
    const std::shared_ptr<DeployFlow> flow = deploy(linked);
    ASSERT_TRUE(succeeded(*flow)) << failureOf(*flow);
    EXPECT_EQ(platform().file("garden", "mine.html"), "mine");
    EXPECT_EQ(uploads(), 0U);
}

TEST_F(LinkedDeployTest, AFolderWhoseSettingsAreDamagedIsNeverUploaded) {
    const Path linked = linkedFolder();
    asTeammate(linked, "echo '[broken' > .git/config");
    refreshedModel();
    const std::shared_ptr<DeployFlow> flow = deploy(linked);
    EXPECT_EQ(failureOf(*flow), "The folder was left alone: right now its git settings cannot be read.");
    EXPECT_EQ(uploads(), 0U);
}

TEST_F(LinkedDeployTest, AFolderWhoseRemoteGitCannotNameIsNeverUploaded) {
    const Path linked = linkedFolder();
    const RefusingGit refusing("remote get-url");
    refreshedModel();
    const std::shared_ptr<DeployFlow> flow = deploy(linked);
    EXPECT_EQ(failureOf(*flow), "The folder was left alone: right now git cannot read its version control.");
    EXPECT_EQ(uploads(), 0U);
}

TEST_F(LinkedDeployTest, AFolderOnAnotherBranchIsNotPublished) {
    const Path linked = linkedFolder();
    asTeammate(linked, "git checkout --quiet -b draft");
    refreshedModel();
    const std::shared_ptr<DeployFlow> flow = deploy(linked);
    EXPECT_EQ(failureOf(*flow), "The folder was left alone: right now the folder is on branch “draft”, not main.");
    EXPECT_EQ(uploads(), 0U);
}

TEST_F(LinkedDeployTest, AFolderThatLostItsVersionControlSinceTheLastLookIsNotUploaded) {
    const Path linked = linkedFolder();
    refreshedModel();
    std::filesystem::remove_all(linked / ".git");
    const std::shared_ptr<DeployFlow> flow = deploy(plainFolder());
    EXPECT_EQ(failureOf(*flow), "The folder is no longer linked to garden.");
    EXPECT_EQ(uploads(), 0U);
}

TEST_F(LinkedDeployTest, AFolderThatIsLinkedItselfIsMergedFromWhereItIsAndRemembered) {
    linkedFolder();
    const Path second = linkedCopy("second");
    platform().push("garden", "echo theirs > theirs.html");
    await(CollabEngine::update(work("garden"), access(), ada(), {}));
    refreshedModel();
    folder().write("work/second/mine.html", "mine");
    const std::shared_ptr<DeployFlow> flow = deploy(second);
    ASSERT_TRUE(succeeded(*flow)) << failureOf(*flow);
    EXPECT_EQ(platform().file("garden", "mine.html"), "mine");
    EXPECT_EQ(platform().file("garden", "theirs.html"), "theirs\n");
    EXPECT_FALSE(std::filesystem::exists(work("garden") / "mine.html"));
    EXPECT_EQ(store().folderMap().at(garden), second);
}

TEST_F(LinkedDeployTest, AFolderThatIsLinkedItselfIsRememberedWithItsConflict) {
    const Path second = linkedCopy("second");
    platform().push("garden", "echo theirs > index.html");
    refreshedModel();
    folder().write("work/second/index.html", "mine");
    deploy(second);
    EXPECT_EQ(collaboration().conflictTarget(), garden);
    EXPECT_EQ(store().folderMap().at(garden), second);
    EXPECT_EQ(stateOf("garden"), CollabState::conflict({QStringLiteral("index.html")}));
}

TEST_F(LinkedDeployTest, ASharedSiteWithoutAFolderHereIsUploaded) {
    refreshedModel();
    const std::shared_ptr<DeployFlow> flow = deploy(plainFolder());
    ASSERT_TRUE(succeeded(*flow)) << failureOf(*flow);
    EXPECT_EQ(uploads(), 1U);
}

TEST_F(LinkedDeployTest, AFolderUnderVersionControlOfItsOwnIsUploaded) {
    const Path dropped = plainFolder();
    asTeammate(dropped, "git init --quiet -b main && git add -A && git commit --quiet -m own");
    refreshedModel();
    const std::shared_ptr<DeployFlow> flow = deploy(dropped);
    ASSERT_TRUE(succeeded(*flow)) << failureOf(*flow);
    EXPECT_EQ(uploads(), 1U);
}

TEST_F(LinkedDeployTest, ASiteThatIsNoLongerSharedIsUploaded) {
    const Path linked = linkedFolder();
    list({siteRecord("garden")});
    refreshedModel();
    const std::shared_ptr<DeployFlow> flow = deploy(linked);
    ASSERT_TRUE(succeeded(*flow)) << failureOf(*flow);
    EXPECT_EQ(uploads(), 1U);
}

// Cancelling

TEST_F(LinkedDeployTest, ACancelClosesTheDeploymentAtOnceAndEndsGit) {
    const Path linked = linkedFolder();
    refreshedModel();
    const PlatformServer::Hold held = server.holdAnswer("/git/garden/info/refs");
    begin(linked);
    Task<> work = model().deployments().confirmDeploy();
    waitUntil([&held] { return held.arrived(); });
    cancelDeploy();
    EXPECT_FALSE(deployFlow());
    await(std::move(work));
    waitUntil([&held] { return held.abandoned(); });
    const std::shared_ptr<DeployFlow> again = deploy(linked);
    EXPECT_TRUE(succeeded(*again)) << failureOf(*again);
}

TEST_F(LinkedDeployTest, TheEndStopsADeploymentThatIsBeingMerged) {
    const Path linked = linkedFolder();
    refreshedModel();
    const PlatformServer::Hold held = server.holdAnswer("/git/garden/info/refs");
    begin(linked);
    model().deployments().confirmDeploy();
    waitUntil([&held] { return held.arrived(); });
    await(model().end());
    waitUntil([&held] { return held.abandoned(); });
}

TEST_F(LinkedDeployTest, ADeploymentWaitsForWhatIsDoneWithTheFolder) {
    const Path linked = linkedFolder();
    refreshedModel();
    PlatformServer::Hold updating = server.holdAnswer("/git/garden/info/refs");
    PlatformServer::Hold publishing = server.holdAnswer("/git/garden/info/refs");
    Task<> update = collaboration().updateFolder(garden);
    waitUntil([&updating] { return updating.arrived(); });
    const std::shared_ptr<DeployFlow> flow = begin(linked);
    Task<> work = model().deployments().confirmDeploy();
    await(collaboration().refreshCollabStates());
    EXPECT_FALSE(publishing.arrived());
    updating.release();
    publishing.release();
    await(std::move(update));
    await(std::move(work));
    EXPECT_TRUE(succeeded(*flow)) << failureOf(*flow);
}

} // namespace
} // namespace driftwell::tests
