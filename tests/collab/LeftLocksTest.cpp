#include "collab/LeftLocks.h"

#include "support/Cancellation.h"
#include "tests/collab/CollabFixture.h"

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

TEST_F(LeftLocksTest, ALockOfTheFutureIsNotWaitedForLongAndStays) {
    inFolder("git init --quiet -b main && touch -d '1 hour' .git/index.lock");
    await(removeLeftLocks(m_folder, {}, std::chrono::milliseconds(1)));
    EXPECT_TRUE(isLocked());
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
