#include "tests/collab/CollabFixture.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::IsEmpty;

class CollabStateTest : public CollabFixture {
protected:
    CollabStateTest() { m_platform.addSite("site", "echo base > index.html && echo other > other.html"); }

    std::optional<CollabState> state(std::optional<std::string> head) const {
        return await(CollabEngine::siteState(site(std::move(head)), m_folder, config(), {}));
    }
    QStringList unresolved() const { return await(CollabEngine::unresolvedFiles(m_folder, {})); }
    void inFolder(const std::string& script) const { asTeammate(m_folder, script); }
    std::string ownHead() const {
        std::string head = asTeammate(m_folder, "git rev-parse HEAD");
        head.pop_back();
        return head;
    }

    std::filesystem::path m_folder;
    const std::string m_unknownHead = "1234567890123456789012345678901234567890";
};

TEST_F(CollabStateTest, AFolderWithoutVersionControlIsNotLinked) {
    m_folder = newFolder("folder");
    EXPECT_EQ(state(m_unknownHead), std::nullopt);
    m_folder = m_home / "missing";
    EXPECT_EQ(state(m_unknownHead), std::nullopt);
}

TEST_F(CollabStateTest, AFolderWithoutTheRemoteIsNotLinked) {
    m_folder = newFolder("folder");
    inFolder("git init --quiet -b main && git remote add origin " + m_platform.origin() + "/git/site");
    EXPECT_EQ(state(m_unknownHead), std::nullopt);
}

TEST_F(CollabStateTest, AFolderOfAnotherSiteIsNotLinked) {
    m_folder = linkedFolder("folder");
    inFolder("git remote set-url driftwell " + m_platform.origin() + "/git/sites");
    EXPECT_EQ(state(m_unknownHead), std::nullopt);
    inFolder("git remote set-url driftwell " + m_platform.origin() + "/git/site/");
    EXPECT_EQ(state(m_unknownHead), std::nullopt);
}

TEST_F(CollabStateTest, AFolderOfAnotherPlatformIsNotLinked) {
    m_folder = linkedFolder("folder");
    const PlatformConfig other(QStringLiteral("https://other.example.org"));
    EXPECT_EQ(await(CollabEngine::siteState(site(m_unknownHead), m_folder, other, {})), std::nullopt);
}

TEST_F(CollabStateTest, AFolderWithSettingsThatAreNotOursNeedsAttention) {
    m_folder = linkedFolder("folder");
    const auto ran = m_home / "ran";
    inFolder("git config core.fsmonitor 'touch " + ran.string() + "'");
    EXPECT_EQ(state(m_unknownHead),
              CollabState::needsAttention(QStringLiteral(
                  "its git settings hold “core.fsmonitor”, which is not one that the Driftwell app writes")));
    EXPECT_FALSE(std::filesystem::exists(ran));
}

TEST_F(CollabStateTest, ADevelopersOwnRepositoryIsNotLinkedWhateverItsSettings) {
    m_folder = newFolder("folder");
    inFolder("git init --quiet -b main && git config core.hooksPath hooks");
    EXPECT_EQ(state(m_unknownHead), std::nullopt);
}

TEST_F(CollabStateTest, AGitFileThatPointsToAnotherFolderNeedsAttentionWhereItIsOfTheSite) {
    m_folder = linkedFolder("folder");
    inFolder("mv .git ../moved && echo 'gitdir: ../moved' > .git");
    EXPECT_EQ(state(m_unknownHead),
              CollabState::needsAttention(QStringLiteral("its version control is kept in another folder")));
    inFolder("git config --file ../moved/config remote.driftwell.url http://elsewhere.example.org");
    EXPECT_EQ(state(m_unknownHead), std::nullopt);
}

TEST_F(CollabStateTest, AFolderWhoseVersionControlCannotBeJudgedNeedsAttention) {
    m_folder = linkedFolder("folder");
    const auto unreadable = CollabState::needsAttention(QStringLiteral("its git settings cannot be read"));
    const auto missing = CollabState::needsAttention(QStringLiteral("its version control has no settings"));
    inFolder("cp .git/config ../config && head -c 40 ../config > .git/config && echo '[' >> .git/config");
    EXPECT_EQ(state(m_unknownHead), unreadable);
    inFolder(": > .git/config");
    EXPECT_EQ(state(m_unknownHead), missing);
    inFolder("rm .git/config");
    EXPECT_EQ(state(m_unknownHead), missing);
    inFolder("mv .git ../moved && echo 'gitdir: ../nowhere' > .git");
    EXPECT_EQ(state(m_unknownHead), missing);
    inFolder("rm .git && mkdir .git");
    EXPECT_EQ(state(std::nullopt), missing);
    inFolder("rmdir .git && mv ../moved .git && cp ../config .git");
    EXPECT_EQ(state(m_platform.head("site")), CollabState::upToDate());
}

TEST_F(CollabStateTest, ADetachedHeadNeedsAttention) {
    m_folder = linkedFolder("folder");
    inFolder("git checkout --quiet --detach");
    EXPECT_EQ(state(m_platform.head("site")),
              CollabState::needsAttention(QStringLiteral("the folder is not on a branch (detached state)")));
}

TEST_F(CollabStateTest, AnotherBranchNeedsAttention) {
    m_folder = linkedFolder("folder");
    inFolder("git checkout --quiet -b fix");
    EXPECT_EQ(state(m_platform.head("site")),
              CollabState::needsAttention(QStringLiteral("the folder is on branch “fix”, not main")));
}

TEST_F(CollabStateTest, ABranchThatDiffersInCaseNeedsAttention) {
    m_folder = linkedFolder("folder");
    inFolder("git checkout --quiet -b Main");
    EXPECT_EQ(state(std::nullopt),
              CollabState::needsAttention(QStringLiteral("the folder is on branch “Main”, not main")));
}

TEST_F(CollabStateTest, AnotherBranchComesBeforeAConflict) {
    m_folder = conflictedFolder("folder");
    inFolder("git symbolic-ref HEAD refs/heads/fix");
    EXPECT_EQ(state(m_platform.head("site")),
              CollabState::needsAttention(QStringLiteral("the folder is on branch “fix”, not main")));
}

TEST_F(CollabStateTest, AMergeWithMarkersIsAConflict) {
    m_folder = conflictedFolder("folder");
    EXPECT_EQ(state(m_platform.head("site")), CollabState::conflict({QStringLiteral("index.html")}));
    EXPECT_EQ(state(std::nullopt), CollabState::conflict({QStringLiteral("index.html")}));
}

TEST_F(CollabStateTest, AMergeWhoseFilesAreCleanIsResolvedWithoutBeingStaged) {
    m_folder = conflictedFolder("folder");
    inFolder("echo both > index.html");
    EXPECT_EQ(state(m_platform.head("site")), CollabState::resolved());
}

TEST_F(CollabStateTest, AMergeWhoseConflictedFileWasDeletedIsAConflict) {
    m_folder = conflictedFolder("folder");
    inFolder("rm index.html");
    EXPECT_EQ(state(m_platform.head("site")), CollabState::conflict({QStringLiteral("index.html")}));
}

TEST_F(CollabStateTest, AFileAddedOnBothSidesStaysUnresolved) {
    m_folder = linkedFolder("folder");
    m_platform.push("site", "echo theirs > new.html");
    inFolder("echo mine > new.html");
    ASSERT_EQ(await(CollabEngine::update(m_folder, access(), identity(), {})), CollabEngine::SyncOutcome::conflict());
    inFolder("echo both > new.html");
    EXPECT_EQ(unresolved(), QStringList({QStringLiteral("new.html")}));
}

TEST_F(CollabStateTest, AFileDeletedOnOneSideStaysUnresolved) {
    m_folder = linkedFolder("folder");
    m_platform.push("site", "rm index.html");
    inFolder("echo mine > index.html");
    ASSERT_EQ(await(CollabEngine::update(m_folder, access(), identity(), {})), CollabEngine::SyncOutcome::conflict());
    EXPECT_EQ(unresolved(), QStringList({QStringLiteral("index.html")}));
}

TEST_F(CollabStateTest, AnUnmergedPathWithBlanksTabsAndOtherBytesStaysWhole) {
    m_platform.push("site", "printf base > \"$(printf 'a\\tb c')\" && printf base > \"$(printf 'x\\377')\"");
    m_folder = linkedFolder("folder");
    const std::string change = " > \"$(printf 'a\\tb c')\"; ";
    const std::string otherChange = " > \"$(printf 'x\\377')\"";
    m_platform.push("site", "echo theirs" + change + "echo theirs" + otherChange);
    inFolder("echo mine" + change + "echo mine" + otherChange);
    ASSERT_EQ(await(CollabEngine::update(m_folder, access(), identity(), {})), CollabEngine::SyncOutcome::conflict());
    EXPECT_EQ(unresolved(), QStringList({QStringLiteral("a\tb c"), QStringLiteral("x�")}));
}

TEST_F(CollabStateTest, WithoutAHeadTheFolderIsUpToDate) {
    m_folder = newFolder("folder");
    inFolder("git init --quiet -b main && git remote add driftwell " + m_platform.origin() + "/git/site");
    EXPECT_EQ(state(std::nullopt), CollabState::upToDate());
    SiteInfo withoutCollaboration = site();
    withoutCollaboration.collab.reset();
    EXPECT_EQ(await(CollabEngine::siteState(withoutCollaboration, m_folder, config(), {})), CollabState::upToDate());
}

TEST_F(CollabStateTest, AFolderWithoutACommitNeedsAttentionWhereThePlatformHasAHead) {
    m_folder = newFolder("folder");
    inFolder("git init --quiet -b main && git remote add driftwell " + m_platform.origin() + "/git/site");
    EXPECT_EQ(state(m_platform.head("site")),
              CollabState::needsAttention(QStringLiteral("the folder’s history is unreadable")));
}

TEST_F(CollabStateTest, TheSameHeadIsUpToDate) {
    m_folder = linkedFolder("folder");
    EXPECT_EQ(state(m_platform.head("site")), CollabState::upToDate());
}

TEST_F(CollabStateTest, AFolderThatIsAheadIsUpToDate) {
    m_folder = linkedFolder("folder");
    inFolder("git commit --quiet --allow-empty -m ahead");
    ASSERT_NE(ownHead(), m_platform.head("site"));
    EXPECT_EQ(state(m_platform.head("site")), CollabState::upToDate());
}

TEST_F(CollabStateTest, AHeadThatIsNotFetchedIsAnUpdate) {
    m_folder = linkedFolder("folder");
    m_platform.push("site", "echo new > index.html");
    EXPECT_EQ(state(m_platform.head("site")), CollabState::updatesAvailable());
}

TEST_F(CollabStateTest, AHeadThatIsFetchedAndNotMergedIsAnUpdate) {
    m_folder = linkedFolder("folder");
    m_platform.push("site", "echo new > index.html");
    inFolder("git fetch --quiet " + m_platform.repository("site").string() + " main");
    EXPECT_EQ(state(m_platform.head("site")), CollabState::updatesAvailable());
}

TEST_F(CollabStateTest, TheStateUsesNoNetwork) {
    m_folder = linkedFolder("folder");
    const std::size_t before = m_platform.requests().size();
    EXPECT_EQ(state(m_unknownHead), CollabState::updatesAvailable());
    EXPECT_EQ(m_platform.requests().size(), before);
}

TEST_F(CollabStateTest, WithoutAMergeNothingIsUnresolved) {
    m_folder = linkedFolder("folder");
    EXPECT_THAT(unresolved(), IsEmpty());
    m_folder = newFolder("plain");
    EXPECT_THAT(unresolved(), IsEmpty());
}

} // namespace
} // namespace driftwell::tests
