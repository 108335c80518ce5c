#include "archive/TarReader.h"

#include "archive/ArchiveError.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <vector>

namespace driftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// What the system's tar makes of the folder.
std::string archiveOf(const tests::TestFolder& folder, const std::vector<std::string>& names,
                      const std::string& options = {}) {
    const tests::TestFolder result;
    std::string list;
    for (const std::string& name : names) {
        list += name + '\0';
    }
    result.write("list", list);
    const std::string command = "TAR_OPTIONS= tar --format ustar --mtime=@1234567890 " + options + " -cf '" +
                                (result / "tar").string() + "' -C '" + folder.path().string() + "' --null -T '" +
                                (result / "list").string() + "'";
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
    return result.read("tar");
}

/// Reads it in pieces of this size.
std::vector<ArchiveMember> membersOf(const std::string& archive, std::size_t piece = 1000) {
    std::vector<ArchiveMember> members;
    TarReader reader([&members](const ArchiveMember& member) { members.push_back(member); });
    for (std::size_t at = 0; at < archive.size(); at += piece) {
        reader.read(std::string_view(archive).substr(at, piece));
    }
    reader.finish();
    return members;
}

std::string refusalOf(const std::string& archive) {
    try {
        static_cast<void>(membersOf(archive));
        return "none";
    } catch (const ArchiveError& failure) {
        return failure.what();
    }
}

TEST(TarReaderTest, TellsTheMembersInPiecesOfAnySize) {
    const tests::TestFolder folder;
    const std::string longPath = std::string(120, 'p') + "/" + std::string(90, 'n');
    folder.write("a", "12345");
    folder.write("empty", "");
    folder.write("caf\xE9\n", std::string(512, 'x'));
    folder.write("large", std::string(100'000, 'x'));
    folder.write(longPath, std::string(513, 'x'));
    const std::string archive = archiveOf(folder, {"a", "empty", "caf\xE9\n", "large", longPath});
    const auto file = [](std::string name, std::uint64_t size) {
        return ArchiveMember{std::move(name), '0', size, 1234567890};
    };
    for (const std::size_t piece : {1, 7, 511, 512, 513, 10'240, 1'000'000}) {
        EXPECT_THAT(membersOf(archive, piece), ElementsAre(file("a", 5), file("empty", 0), file("caf\xE9\n", 512),
                                                           file("large", 100'000), file(longPath, 513)))
            << piece;
    }
}

TEST(TarReaderTest, TellsWhatIsNoFile) {
    const tests::TestFolder folder;
    std::filesystem::create_symlink("/etc/passwd", folder / "link");
    std::filesystem::create_directory(folder / "folder");
    const std::vector<ArchiveMember> members = membersOf(archiveOf(folder, {"folder", "link"}));
    ASSERT_EQ(members.size(), 2U);
    EXPECT_EQ(members[0], (ArchiveMember{"folder/", '5', 0, 1234567890}));
    EXPECT_EQ(members[1], (ArchiveMember{"link", '2', 0, 1234567890}));
}

TEST(TarReaderTest, FindsNothingInAnArchiveOfNothing) {
    const tests::TestFolder folder;
    EXPECT_THAT(membersOf(archiveOf(folder, {})), IsEmpty());
}

TEST(TarReaderTest, RefusesAnArchiveWithoutItsEnd) {
    const tests::TestFolder folder;
    folder.write("a", "12345");
    const std::string archive = archiveOf(folder, {"a"});
    for (const std::size_t size : {0, 100, 512, 515, 1024, 1536}) {
        EXPECT_EQ(refusalOf(archive.substr(0, size)), "the archive has no end") << size;
    }
    EXPECT_EQ(refusalOf(archive.substr(0, 2048)), "none");
    EXPECT_EQ(refusalOf(archive.substr(0, 2049)), "the archive has no end");
}

TEST(TarReaderTest, RefusesWhatIsDamaged) {
    const tests::TestFolder folder;
    folder.write("a", "12345");
    const std::string archive = archiveOf(folder, {"a"});
    std::string otherName = archive;
    otherName[0] = 'b';
    EXPECT_EQ(refusalOf(otherName), "the sum of a header is wrong");
    std::string noNumber = archive;
    noNumber[150] = 'x';
    EXPECT_EQ(refusalOf(noNumber), "a number in a header is damaged");
    EXPECT_EQ(refusalOf(std::string(512, 'x')), "a header is not in the ustar format");
    EXPECT_EQ(refusalOf(archiveOf(folder, {"a"}, "--format gnu")), "a header is not in the ustar format");
    EXPECT_EQ(refusalOf(archive + archive), "something follows the end of the archive");
}

} // namespace
} // namespace driftwell
