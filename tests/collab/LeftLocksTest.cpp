#include "collab/LeftLocks.h"

#include "support/Cancellation.h"
#include "tests/collab/CollabFixture.h"

#include <fstream>

namespace driftwell::tests {
namespace {

class LeftLocksTest : public CollabFixture {
protected:
    void inFolder(const std::string& script) const { asTeammate(m_folder, script); }
    bool isLocked() const { return std::filesystem::exists(m_folder / ".git/index.lock"); }

    std::filesystem::path m_folder = newFolder("folder");
};

TEST_F(LeftLocksTest, ALockThatAKilledGitLeftBehindIsRemovedByThePublish) {
    m_platform.addSite("site", "echo base > index.html");
    m_folder = linkedFolder("linked");
    inFolder("echo mine > index.html && touch .git/index.lock .git/HEAD.lock .git/refs/heads/main.lock");
    const auto outcome = await(CollabEngine::deploy(m_folder, access(), identity(), {}));
    EXPECT_EQ(outcome, CollabEngine::SyncOutcome::published()) << outcome.text.toStdString();
    EXPECT_EQ(m_platform.file("site", "index.html"), "mine\n");
    EXPECT_FALSE(isLocked());
}

TEST_F(LeftLocksTest, ALockStaysWhileAGitIsAtWorkInTheFolder) {
    inFolder("git init --quiet -b main && touch -d '1 hour ago' .git/index.lock");
    std::stop_source stop;
    Git::Surroundings surroundings;
    surroundings.folder = m_folder;
    auto atWork = Git::run({"-c", "alias.wait=!sleep 1000", "wait"}, surroundings, stop.get_token());
    waitUntil([this] { return isGitAtWork(m_folder); });
    await(removeLeftLocks(m_folder, {}));
    EXPECT_TRUE(isLocked());
    stop.request_stop();
    EXPECT_THROW(await(std::move(atWork)), Cancelled);
    EXPECT_FALSE(isGitAtWork(m_folder));
    await(removeLeftLocks(m_folder, {}));
    EXPECT_FALSE(isLocked());
}

TEST_F(LeftLocksTest, ALockThatIsNoFileStays) {
    inFolder("git init --quiet -b main && mkdir .git/index.lock");
    await(removeLeftLocks(m_folder, {}));
    EXPECT_TRUE(isLocked());
}

TEST_F(LeftLocksTest, ALockOfTheFutureIsRemovedWhenItWasWatchedForLongEnough) {
    inFolder("git init --quiet -b main && touch -d '1 hour' .git/index.lock");
    const auto begin = std::chrono::steady_clock::now();
    await(removeLeftLocks(m_folder, {}, std::chrono::milliseconds(300)));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(300));
    EXPECT_FALSE(isLocked());
}

TEST_F(LeftLocksTest, ALockOfTheFutureThatIsTouchedWhileItIsWatchedStays) {
    inFolder("git init --quiet -b main && touch -d '1 hour' .git/index.lock");
    auto watching = removeLeftLocks(m_folder, {}, std::chrono::milliseconds(300));
    inFolder("touch -d '2 hours' .git/index.lock");
    await(std::move(watching));
    EXPECT_TRUE(isLocked());
}

TEST_F(LeftLocksTest, TheLocksOfEveryBranchAreRemoved) {
    m_platform.addSite("site", "echo base > index.html");
    m_folder = linkedFolder("linked");
    inFolder("git checkout --quiet -b team/fix && touch -d '1 hour ago' .git/refs/heads/team/fix.lock "
             ".git/packed-refs.lock .git/refs/stash.lock .git/FETCH_HEAD.lock .git/objects/info/commit-graph.lock && "
             "mkdir -p .git/refs/tags && ln -s elsewhere .git/refs/tags/x.lock && touch .git/refs/heads/team/other");
    await(removeLeftLocks(m_folder, {}));
    EXPECT_EQ(asTeammate(m_folder, "find .git -name '*.lock'"), ".git/refs/tags/x.lock\n");
    EXPECT_TRUE(std::filesystem::exists(m_folder / ".git/refs/heads/team/other"));
}

TEST_F(LeftLocksTest, ALockStaysWhileAGitElsewhereWorksOnTheFolder) {
    inFolder("git init --quiet -b main && touch -d '1 hour ago' .git/index.lock");
    std::stop_source stop;
    Git::Surroundings surroundings;
    surroundings.folder = newFolder("elsewhere");
    auto atWork =
        Git::run({"--git-dir", (m_folder / ".git").string(), "-c", "alias.wait=!touch started; sleep 1000", "wait"},
                 surroundings, stop.get_token());
    waitUntil([this] { return std::filesystem::exists(m_home / "elsewhere/started"); });
    EXPECT_TRUE(isGitAtWork(m_folder));
    await(removeLeftLocks(m_folder, {}));
    EXPECT_TRUE(isLocked());
    stop.request_stop();
    EXPECT_THROW(await(std::move(atWork)), Cancelled);
    EXPECT_FALSE(isGitAtWork(m_folder));
}

TEST_F(LeftLocksTest, ALockStaysWhileAnyProgramHasItOpen) {
    inFolder("git init --quiet -b main");
    {
        const std::ofstream held(m_folder / ".git/index.lock");
        inFolder("touch -d '1 hour ago' .git/index.lock");
        await(removeLeftLocks(m_folder, {}));
        EXPECT_TRUE(isLocked());
    }
    await(removeLeftLocks(m_folder, {}));
    EXPECT_FALSE(isLocked());
}

TEST_F(LeftLocksTest, WaitingForALockCanBeStopped) {
    inFolder("git init --quiet -b main && touch .git/index.lock");
    std::stop_source stop;
    auto waiting = removeLeftLocks(m_folder, stop.get_token(), std::chrono::hours(1));
    stop.request_stop();
    EXPECT_THROW(await(std::move(waiting)), Cancelled);
    EXPECT_TRUE(isLocked());
}

} // namespace
} // namespace driftwell::tests
