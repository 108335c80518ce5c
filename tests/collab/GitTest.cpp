#include "collab/Git.h"

#include "tests/RecordingDesktopServices.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>

#include <thread>

namespace driftwell::tests {
namespace {

class GitTest : public testing::Test {
protected:
    std::filesystem::path program(const std::string& script) const {
        m_folder.write("git", "#!/bin/sh\n" + script + "\n");
        std::filesystem::permissions(m_folder / "git", std::filesystem::perms::owner_all);
        return m_folder / "git";
    }

    TestFolder m_folder;
};

TEST_F(GitTest, TheSystemsGitIsInstalled) {
    EXPECT_TRUE(Git::toolsInstalled());
}

TEST_F(GitTest, AGitThatSaysItsVersionIsInstalled) {
    EXPECT_TRUE(Git::toolsInstalled(program("[ \"$*\" = --version ]")));
}

TEST_F(GitTest, AGitThatFailsIsNotInstalled) {
    EXPECT_FALSE(Git::toolsInstalled(program("echo 'git version 2.39'; exit 1")));
    EXPECT_FALSE(Git::toolsInstalled(program("kill -9 $$")));
}

TEST_F(GitTest, AMissingGitIsNotInstalled) {
    EXPECT_FALSE(Git::toolsInstalled(m_folder / "missing"));
    EXPECT_FALSE(Git::toolsInstalled(m_folder.path()));
}

TEST_F(GitTest, AFileThatCannotBeRunIsNotInstalled) {
    m_folder.write("git", "");
    EXPECT_FALSE(Git::toolsInstalled(m_folder / "git"));
}

TEST_F(GitTest, AGitThatHangsIsNotInstalled) {
    EXPECT_FALSE(Git::toolsInstalled(program("exec sleep 1000")));
}

TEST_F(GitTest, ItCanBeAskedOnAnyThread) {
    bool isInstalled = false;
    std::thread([&isInstalled] { isInstalled = Git::toolsInstalled(); }).join();
    EXPECT_TRUE(isInstalled);
}

TEST_F(GitTest, MuchOutputIsReadByNobody) {
    EXPECT_TRUE(Git::toolsInstalled(program("yes | head -c 1000000")));
}

TEST_F(GitTest, TheDesktopOffersToInstallIt) {
    RecordingDesktopServices desktop;
    Git::promptInstall(desktop);
    EXPECT_THAT(desktop.promptedPackages(), testing::ElementsAre("git"));
}

} // namespace
} // namespace driftwell::tests
