#include "support/TemporaryFolder.h"

#include "tests/ScopedVariable.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <optional>
#include <string>
#include <system_error>
#include <thread>

namespace driftwell {
namespace {

using testing::MatchesRegex;
using testing::StartsWith;
using tests::ScopedVariable;
using tests::TestFolder;

TEST(TemporaryFolderTest, IsNamedByItsPrefixAndAFreshUuidInCapitals) {
    const TemporaryFolder first("driftwell-");
    const TemporaryFolder second("driftwell-");
    EXPECT_THAT(first.path().filename().string(),
                MatchesRegex("driftwell-[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}"));
    EXPECT_NE(first.path(), second.path());
}

TEST(TemporaryFolderTest, LiesInTheSystemsTemporaryFolder) {
    const TestFolder parent;
    const ScopedVariable variable("TMPDIR", QByteArray(parent.path().c_str()));
    EXPECT_EQ(TemporaryFolder("x-").path().parent_path(), parent.path());
}

TEST(TemporaryFolderTest, IsForItsUserOnly) {
    const mode_t before = ::umask(0);
    const TemporaryFolder folder("x-");
    ::umask(before);
    struct stat status {};
    ASSERT_EQ(::stat(folder.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0700U);
    EXPECT_TRUE(S_ISDIR(status.st_mode));
}

TEST(TemporaryFolderTest, IsRemovedWithAllItHolds) {
    const TestFolder outside;
    outside.write("precious", "precious");
    std::filesystem::path path;
    {
        const TemporaryFolder folder("x-");
        path = folder.path();
        std::filesystem::create_directories(path / "a/b/c");
        std::ofstream(path / "a/b/c/file") << "content";
        std::ofstream(path / "unreadable") << "content";
        ASSERT_EQ(::chmod((path / "unreadable").c_str(), 0), 0);
        std::ofstream(path / "a/caf\xE9\n") << "content";
        std::filesystem::create_directory_symlink(outside.path(), path / "link");
        ASSERT_EQ(::mkfifo((path / "fifo").c_str(), 0600), 0);
    }
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(outside.read("precious"), "precious") << "removed through a link";
}

TEST(TemporaryFolderTest, DoesNotMindThatItIsAlreadyGone) {
    std::optional<TemporaryFolder> folder(std::in_place, "x-");
    std::filesystem::remove_all(folder->path());
    EXPECT_NO_THROW(folder.reset());
}

TEST(TemporaryFolderTest, MakesTheSystemsTemporaryFolderWhereItIsMissing) {
    const TestFolder parent;
    const ScopedVariable variable("TMPDIR", QByteArray((parent / "missing/one").c_str()));
    EXPECT_EQ(TemporaryFolder("x-").path().parent_path(), parent / "missing/one");
}

TEST(TemporaryFolderTest, NamesThePlaceWhereItCannotBeMade) {
    EXPECT_THROW(TemporaryFolder("no-such-folder/x-"), std::system_error);
    const TestFolder parent;
    parent.write("file", "x");
    for (const std::filesystem::path& place :
         {parent / "file", parent / "file/below", std::filesystem::path("/proc")}) {
        const ScopedVariable variable("TMPDIR", QByteArray(place.c_str()));
        try {
            const TemporaryFolder folder("x-");
            ADD_FAILURE() << "made " << folder.path();
        } catch (const std::system_error& failure) {
            EXPECT_THAT(failure.what(), StartsWith("no temporary folder can be made in " + place.string() + ":"));
        }
    }
}

/// A temporary folder of the system's with what processes left in it.
struct LeftoverTest : testing::Test {
    [[nodiscard]] std::string leave(const std::string& prefix = "x-") const {
        const std::string name = prefix + "01234567-89AB-4DEF-8123-456789ABCDEF";
        parent.write(name + "/deep/site.tgz", "large");
        return name;
    }
    [[nodiscard]] bool isThere(const std::string& name) const {
        return std::filesystem::exists(std::filesystem::symlink_status(parent / name));
    }

    TestFolder parent;
    ScopedVariable variable{"TMPDIR", QByteArray(parent.path().c_str())};
};

TEST_F(LeftoverTest, IsRemovedWithAllThatItHolds) {
    const std::string left = leave();
    TemporaryFolder::removeLeftovers("x-");
    EXPECT_FALSE(isThere(left));
}

TEST_F(LeftoverTest, IsWhatAKilledProcessLeavesAndNothingThatIsInUse) {
    const TemporaryFolder own("x-");
    int ends[2] = {-1, -1};
    ASSERT_EQ(::pipe(ends), 0);
    const pid_t other = ::fork();
    if (other == 0) {
        const TemporaryFolder folder("x-");
        const std::string name = folder.path().filename().string();
        static_cast<void>(::write(ends[1], name.data(), name.size()));
        for (;;) {
            ::pause();
        }
    }
    std::string name(100, '\0');
    name.resize(static_cast<std::size_t>(::read(ends[0], name.data(), name.size())));
    TemporaryFolder::removeLeftovers("x-");
    EXPECT_TRUE(isThere(name)) << "removed while another process uses it";
    EXPECT_TRUE(std::filesystem::exists(own.path()));

    ::kill(other, SIGKILL);
    ::waitpid(other, nullptr, 0);
    EXPECT_TRUE(isThere(name));
    TemporaryFolder::removeLeftovers("x-");
    EXPECT_FALSE(isThere(name));
    EXPECT_TRUE(std::filesystem::exists(own.path()));
    ::close(ends[0]);
    ::close(ends[1]);
}

TEST_F(LeftoverTest, IsNothingOfAnotherNameOrKind) {
    const std::string other = leave("y-");
    parent.write("x-folder/file", "x");
    parent.write("x-01234567-89AB-4DEF-8123-456789ABCDE0", "a file");
    const TestFolder outside;
    outside.write("precious", "precious");
    std::filesystem::create_directory_symlink(outside.path(), parent / "x-01234567-89AB-4DEF-8123-456789ABCDE1");
    TemporaryFolder::removeLeftovers("x-");
    for (const std::string& name :
         {other, std::string("x-folder"), std::string("x-01234567-89AB-4DEF-8123-456789ABCDE0"),
          std::string("x-01234567-89AB-4DEF-8123-456789ABCDE1")}) {
        EXPECT_TRUE(isThere(name)) << name;
    }
    EXPECT_EQ(outside.read("precious"), "precious");
}

TEST_F(LeftoverTest, OfAnotherUserStays) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can make a file another user's";
    }
    const std::string left = leave();
    ASSERT_EQ(::chown((parent / left).c_str(), 65534, 65534), 0);
    TemporaryFolder::removeLeftovers("x-");
    EXPECT_TRUE(isThere(left));
}

TEST_F(LeftoverTest, IsNeverAFolderThatIsJustBeingMade) {
    std::atomic<bool> end = false;
    std::thread sweeper([&end] {
        while (!end) {
            TemporaryFolder::removeLeftovers("x-");
        }
    });
    for (int i = 0; i < 300; ++i) {
        const TemporaryFolder folder("x-");
        std::ofstream(folder.path() / "file") << "x";
        ASSERT_TRUE(std::filesystem::exists(folder.path() / "file")) << "a folder in use was removed";
    }
    end = true;
    sweeper.join();
}

} // namespace
} // namespace driftwell
