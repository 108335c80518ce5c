#include "support/AtomicFile.h"

#include "tests/support/TestFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <system_error>
#include <vector>

namespace driftwell {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using tests::TestFolder;

std::vector<std::string> names(const TestFolder& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
        names.push_back(entry.path().filename().string());
    }
    return names;
}

mode_t modeOf(const std::filesystem::path& file) {
    struct stat status {};
    EXPECT_EQ(::stat(file.c_str(), &status), 0);
    return status.st_mode & 07777;
}

TEST(AtomicFileTest, MakesAFileWithItsContentAndPermissions) {
    const TestFolder folder;
    const std::string content("binary \0 \xFF content\n", 18);
    replaceFile(folder / "file", content, 0640);
    EXPECT_EQ(folder.read("file"), content);
    EXPECT_EQ(modeOf(folder / "file"), 0640U);
    EXPECT_THAT(names(folder), ElementsAre("file"));
}

TEST(AtomicFileTest, ReplacesAFileByALongerAndByAShorterOne) {
    const TestFolder folder;
    folder.write("file", "old");
    const std::string large(5'000'000, 'x');
    replaceFile(folder / "file", large, 0600);
    EXPECT_EQ(folder.read("file"), large);
    replaceFile(folder / "file", "", 0600);
    EXPECT_EQ(folder.read("file"), "");
    EXPECT_THAT(names(folder), ElementsAre("file"));
}

TEST(AtomicFileTest, SetsPermissionsThatTheUmaskWouldTakeAway) {
    const TestFolder folder;
    const mode_t before = ::umask(0077);
    replaceFile(folder / "file", "content", 0755);
    ::umask(before);
    EXPECT_EQ(modeOf(folder / "file"), 0755U);
}

TEST(AtomicFileTest, LeavesTheOldContentToWhoeverHasItOpen) {
    const TestFolder folder;
    folder.write("file", "old");
    std::ifstream reader(folder / "file");
    replaceFile(folder / "file", "new", 0600);
    std::string seen;
    reader >> seen;
    EXPECT_EQ(seen, "old");
    EXPECT_EQ(folder.read("file"), "new");
}

TEST(AtomicFileTest, ClearsWhatAKilledWriterLeft) {
    const TestFolder folder;
    folder.write(".file.new", "half of it, and longer than the new content");
    replaceFile(folder / "file", "content", 0600);
    EXPECT_EQ(folder.read("file"), "content");
    EXPECT_THAT(names(folder), ElementsAre("file"));
}

TEST(AtomicFileTest, DoesNotWriteThroughALinkInThePlaceOfTheNewFile) {
    const TestFolder folder;
    folder.write("elsewhere/precious", "precious");
    std::filesystem::create_symlink("elsewhere/precious", folder / ".file.new");
    replaceFile(folder / "file", "content", 0600);
    EXPECT_EQ(folder.read("elsewhere/precious"), "precious");
    EXPECT_EQ(folder.read("file"), "content");
    EXPECT_FALSE(std::filesystem::is_symlink(folder / "file"));
}

TEST(AtomicFileTest, ReplacesTheFileThatALinkInAnotherFolderLeadsTo) {
    const TestFolder folder;
    folder.write("far/away/real", "old");
    std::filesystem::create_symlink("far/away/../away/real", folder / "link");
    replaceFile(folder / "link", "new", 0600);
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link"));
    EXPECT_EQ(folder.read("far/away/real"), "new");
}

TEST(AtomicFileTest, ThrowsForAFolderThatIsNotThereOrIsNone) {
    const TestFolder folder;
    folder.write("file", "in the way");
    const struct {
        const char* name;
        std::errc reason;
    } rows[] = {{"missing/file", std::errc::no_such_file_or_directory}, {"file/file", std::errc::not_a_directory}};
    for (const auto& [name, reason] : rows) {
        try {
            replaceFile(folder / name, "content", 0600);
            FAIL() << "did not throw";
        } catch (const std::system_error& failure) {
            EXPECT_EQ(failure.code(), reason);
            EXPECT_THAT(failure.what(), HasSubstr((folder / name).string()));
        }
    }
}

TEST(AtomicFileTest, LeavesAFolderInItsPlaceAndNothingBesideIt) {
    const TestFolder folder;
    folder.write("target/file", "kept");
    EXPECT_THROW(replaceFile(folder / "target", "content", 0600), std::system_error);
    EXPECT_EQ(folder.read("target/file"), "kept");
    EXPECT_THAT(names(folder), ElementsAre("target"));
}

TEST(AtomicFileTest, LeavesWhatAnotherWriterIsWritingAloneWhereThereAreSeveral) {
    const TestFolder folder;
    folder.write(".file.new", "of the writer that has the lock");
    replaceFile(folder / "file", "content", 0600, Writers::Several);
    EXPECT_EQ(folder.read("file"), "content");
    EXPECT_EQ(folder.read(".file.new"), "of the writer that has the lock");
    replaceFile(folder / "file", "other", 0600, Writers::One);
    EXPECT_THAT(names(folder), ElementsAre("file"));
}

} // namespace
} // namespace driftwell
