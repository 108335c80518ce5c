#include "support/TemporaryFolder.h"

#include "tests/ScopedVariable.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <optional>
#include <string>
#include <system_error>

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

TEST(TemporaryFolderTest, ThrowsWhenItCannotBeMade) {
    EXPECT_THROW(TemporaryFolder("no-such-folder/x-"), std::system_error);
    const ScopedVariable variable("TMPDIR", QByteArray("/no-such-folder"));
    EXPECT_THROW(TemporaryFolder("x-"), std::system_error);
}

} // namespace
} // namespace driftwell
