#include "archive/MemberRecord.h"
#include "support/SystemError.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>
#include <sys/wait.h>

#include <cstdlib>
#include <vector>

namespace driftwell {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

/// The program as tar would start it.
struct GzipProgramTest : testing::Test {
    /// Its exit status; what it says goes to the file "said".
    int run(const std::string& before, const std::string& after) const {
        const std::string command =
            "cd '" + folder.path().string() + "' && " + before + " '" DRIFTWELL_GZIP "' " + after + " 2>said";
        return WEXITSTATUS(checked(std::system(command.c_str()), "system"));
    }

    std::vector<std::string> recordedNames() const {
        std::vector<std::string> names;
        MemberRecordReader reader([&names](const ArchiveMember& member) { names.push_back(member.name); });
        reader.read(folder.read("record"));
        EXPECT_EQ(reader.finish(), std::filesystem::file_size(folder / "packed"));
        return names;
    }

    tests::TestFolder folder;
};

TEST_F(GzipProgramTest, CompressesItsInput) {
    folder.write("plain", std::string(3'000'000, 'x'));
    EXPECT_EQ(run("", "<plain >packed"), 0);
    const std::string compare = "cd '" + folder.path().string() + "' && /usr/bin/gzip -dc packed | cmp - plain";
    EXPECT_EQ(std::system(compare.c_str()), 0);
}

TEST_F(GzipProgramTest, WritesDownWhatWentBy) {
    folder.write("a", "1");
    folder.write("b/c", "2");
    EXPECT_EQ(run("tar --format ustar -c a b/c | DRIFTWELL_ARCHIVE_MEMBERS=record", ">packed"), 0);
    EXPECT_THAT(recordedNames(), ElementsAre("a", "b/c"));
}

TEST_F(GzipProgramTest, IsTheGzipOfTar) {
    folder.write("a", "1");
    std::filesystem::create_directory(folder / "bin");
    std::filesystem::create_symlink(DRIFTWELL_GZIP, folder / "bin/gzip");
    const std::string command = "cd '" + folder.path().string() +
                                "' && DRIFTWELL_ARCHIVE_MEMBERS=record PATH=\"$PWD/bin:$PATH\" "
                                "tar --format ustar -czf packed a";
    EXPECT_EQ(std::system(command.c_str()), 0);
    EXPECT_THAT(recordedNames(), ElementsAre("a"));
}

TEST_F(GzipProgramTest, FailsOnAnArchiveThatIsCutShort) {
    folder.write("a", "1");
    EXPECT_EQ(run("tar --format ustar -c a | head -c 700 | DRIFTWELL_ARCHIVE_MEMBERS=record", ">packed"), 1);
    EXPECT_EQ(folder.read("said"), "gzip: the archive has no end\n");
}

TEST_F(GzipProgramTest, FailsWhereItCannotWrite) {
    folder.write("plain", "x");
    EXPECT_EQ(run("", "<plain >/dev/full"), 1);
    EXPECT_THAT(folder.read("said"), HasSubstr("No space left on device"));
    EXPECT_EQ(run("", "<plain >&-"), 1);
}

TEST_F(GzipProgramTest, FailsWhereItsRecordCannotBeWritten) {
    folder.write("a", "1");
    folder.write("record", "somebody else's");
    EXPECT_EQ(run("tar --format ustar -c a | DRIFTWELL_ARCHIVE_MEMBERS=record", ">packed"), 1);
    EXPECT_THAT(folder.read("said"), EndsWith("record: File exists\n"));
    EXPECT_EQ(folder.read("record"), "somebody else's");
}

TEST_F(GzipProgramTest, RefusesToDoAnythingElse) {
    EXPECT_EQ(run("", "-d </dev/null >packed"), 2);
    EXPECT_THAT(folder.read("said"), HasSubstr("-d"));
    EXPECT_EQ(folder.read("packed"), "");
}

} // namespace
} // namespace driftwell
