#include "deploy/Packing.h"

#include "platform/PlatformError.h"
#include "support/SystemError.h"
#include "tests/Await.h"
#include "tests/deploy/ArchiveReader.h"
#include "tests/deploy/ProcessState.h"
#include "tests/deploy/Unprivileged.h"
#include "tests/ScopedVariable.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <random>
#include <system_error>

namespace driftwell {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using tests::ArchiveMember;
using tests::ScopedVariable;
using tests::TestFolder;

/// Bytes that no compression makes smaller.
std::string randomBytes(std::size_t size) {
    std::minstd_rand random(1);
    std::string bytes;
    bytes.reserve(size);
    while (bytes.size() < size) {
        bytes += static_cast<char>(random() >> 8);
    }
    return bytes;
}

/// What stands between the zero bytes in a file of /proc.
std::vector<std::string> zeroTerminated(const std::string& text) {
    std::vector<std::string> parts;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\0', at), text.size());
        parts.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return parts;
}

/// A site to pack, a folder to work in, and a folder of helper programs.
struct PackingTest : testing::Test {
    std::filesystem::path pack(const FolderScan& files) {
        return tests::await(packFolder(site.path(), files, working.path(), helpers.path()));
    }

    std::vector<ArchiveMember> packedMembers() {
        pack(scanFolder(site.path()));
        return tests::readArchive(working.read("site.tgz"));
    }

    std::vector<std::string> packedNames() {
        std::vector<std::string> names;
        for (const ArchiveMember& member : packedMembers()) {
            names.push_back(member.name);
        }
        return names;
    }

    /// The words of the platform error that packing ends with.
    std::string refusalOf(const FolderScan& files) {
        try {
            pack(files);
            return "none";
        } catch (const PlatformError& failure) {
            EXPECT_EQ(failure.kind(), PlatformError::Kind::Api);
            return failure.description().toStdString();
        }
    }

    std::string refusal() { return refusalOf(scanFolder(site.path())); }

    void addProgram(const TestFolder& folder, const std::string& name, const std::string& script) {
        folder.write(name, "#!/bin/sh\n" + script);
        checked(::chmod((folder / name).c_str(), S_IRWXU), "chmod");
    }

    /// Makes the helper gzip one that first writes down the arguments and the environment of the tar that uses it.
    void recordTar() {
        addProgram(helpers, "gzip",
                   "pid=$PPID\n"
                   "while [ \"$(cat /proc/$pid/comm)\" != tar ]; do\n"
                   "    pid=$(sed 's/.*) . //; s/ .*//' /proc/$pid/stat)\n"
                   "done\n"
                   "cat /proc/$pid/cmdline >'" +
                       (records / "arguments").string() +
                       "'\n"
                       "cat /proc/$pid/environ >'" +
                       (records / "environment").string() +
                       "'\n"
                       "exec /usr/bin/gzip \"$@\"\n");
    }

    TestFolder site;
    TestFolder working;
    TestFolder helpers;
    TestFolder records;
};

TEST_F(PackingTest, PacksExactlyTheScannedFilesInTheirOrder) {
    const std::string large = randomBytes(3'000'000);
    site.write("index.html", "<p>hello</p>");
    site.write("a/b/c.txt", "");
    site.write("a-b", std::string("zero \0 byte", 11));
    site.write("z/large", large);
    site.write(".hidden", "x");
    site.write("node_modules/x", "x");
    std::filesystem::create_directories(site / "empty folder");

    const std::vector<ArchiveMember> members = packedMembers();
    ASSERT_EQ(members.size(), 4U);
    EXPECT_EQ(members[0].name, "a-b");
    EXPECT_EQ(members[0].content, std::string("zero \0 byte", 11));
    EXPECT_EQ(members[1].name, "a/b/c.txt");
    EXPECT_EQ(members[1].content, "");
    EXPECT_EQ(members[2].name, "index.html");
    EXPECT_EQ(members[2].content, "<p>hello</p>");
    EXPECT_EQ(members[3].name, "z/large");
    EXPECT_EQ(members[3].content, large);
    EXPECT_THAT(members, Each(Field(&ArchiveMember::type, '0')));
}

TEST_F(PackingTest, PutsTheArchiveAndTheListIntoTheWorkingFolder) {
    site.write("b", "x");
    site.write("a/c", "x");
    EXPECT_EQ(pack(scanFolder(site.path())), working / "site.tgz");
    EXPECT_EQ(working.read("files.txt"), "a/c\nb");
    struct stat attributes {};
    ASSERT_EQ(::stat((working / "files.txt").c_str(), &attributes), 0);
    EXPECT_EQ(attributes.st_mode & ALLPERMS, S_IRUSR | S_IWUSR);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(working.path()), {}), 2);
}

TEST_F(PackingTest, PacksThousandsOfFiles) {
    std::vector<std::string> names;
    for (int i = 10'000; i < 13'000; ++i) {
        names.push_back("folder with a name of some length/" + std::to_string(i));
        site.write(names.back(), "x");
    }
    EXPECT_EQ(packedNames(), names);
}

TEST_F(PackingTest, RunsTarWithEightArgumentsInThisOrder) {
    site.write("index.html", "x");
    recordTar();
    pack(scanFolder(site.path()));
    EXPECT_THAT(zeroTerminated(records.read("arguments")),
                ElementsAre("/usr/bin/tar", "--format", "ustar", "-czf", (working / "site.tgz").string(), "-C",
                            site.path().string(), "-T", (working / "files.txt").string()));
}

TEST_F(PackingTest, GivesTarAnEnvironmentInWhichNothingInheritedChangesTheArchive) {
    const ScopedVariable options("TAR_OPTIONS", "--verbose");
    const ScopedVariable gzip("GZIP", "-1");
    const ScopedVariable posix("POSIXLY_CORRECT", "1");
    const ScopedVariable tape("TAPE", "/dev/null");
    const ScopedVariable path("PATH", "/somewhere/else:" + qgetenv("PATH"));
    const ScopedVariable language("LC_ALL", "C.UTF-8");
    const ScopedVariable other("DRIFTWELL_OTHER", "kept");
    site.write("index.html", "x");
    recordTar();
    pack(scanFolder(site.path()));

    const std::vector<std::string> environment = zeroTerminated(records.read("environment"));
    EXPECT_THAT(environment, Contains("PATH=" + helpers.path().string() + ":/usr/bin:/bin"));
    EXPECT_THAT(environment, Contains("LC_ALL=C"));
    EXPECT_THAT(environment, Contains("DRIFTWELL_OTHER=kept"));
    EXPECT_THAT(environment, Contains(AllOf(StartsWith("TAR_OPTIONS="), Not(HasSubstr("--verbose")))));
    for (const char* name : {"GZIP=", "POSIXLY_CORRECT=", "TAPE="}) {
        EXPECT_THAT(environment, Each(Not(StartsWith(name))));
    }
}

TEST_F(PackingTest, NamesNoAccountOfThisMachine) {
    site.write("file", "x");
    if (::geteuid() == 0) {
        checked(::chown((site / "file").c_str(), 1234, 1234), "chown");
    }
    const std::vector<ArchiveMember> members = packedMembers();
    ASSERT_EQ(members.size(), 1U);
    EXPECT_EQ(members[0].owner, 0U);
    EXPECT_EQ(members[0].group, 0U);
    EXPECT_EQ(members[0].ownerName, "");
    EXPECT_EQ(members[0].groupName, "");
}

TEST_F(PackingTest, KeepsPermissions) {
    site.write("script", "x");
    checked(::chmod((site / "script").c_str(), 0750), "chmod");
    const std::vector<ArchiveMember> members = packedMembers();
    ASSERT_EQ(members.size(), 1U);
    EXPECT_EQ(members[0].mode & ALLPERMS, 0750U);
}

TEST_F(PackingTest, PacksEveryNameOfAFileAsAFile) {
    site.write("one", "content");
    std::filesystem::create_hard_link(site / "one", site / "two");
    const std::vector<ArchiveMember> members = packedMembers();
    ASSERT_EQ(members.size(), 2U);
    for (const ArchiveMember& member : members) {
        EXPECT_EQ(member.type, '0');
        EXPECT_EQ(member.content, "content");
    }
}

TEST_F(PackingTest, TakesNamesThatLookLikeOptionsOrPatternsAsNames) {
    const TestFolder outside;
    outside.write("secret", "secret");
    std::vector<std::string> names{
        "-",
        "--",
        "-C..",
        "-T",
        "-Tfiles.txt",
        "--add-file=secret",
        "--files-from=index.html",
        "--exclude=index.html",
        "--to-command=true",
        "--remove-files",
        "--checkpoint=1",
        "--null",
        "-h",
        "*",
        "?",
        "[a-z]*",
        "{a,b}",
        "~",
        "~root",
        "#comment",
        "!x",
        "$HOME",
        "`id`",
        "'quoted'",
        "\"quoted\"",
        " leading",
        "trailing ",
        " ",
        "\ttab\t",
        "\rreturn\r",
        "back\\slash",
        "back\\nslash",
        "\\057etc\\057passwd",
        "a\\057..\\057..\\057secret",
        "trailing\\",
        "colon:name",
        "host:/path",
        "a..",
        "caf\xc3\xa9",
        "\xff\xfe",
        "\x01\x1b[31m",
        "index.html",
        "a/index.html",
    };
    for (const std::string& name : names) {
        site.write(name, "content of " + name);
    }
    std::sort(names.begin(), names.end());
    const std::vector<ArchiveMember> members = packedMembers();
    ASSERT_EQ(members.size(), names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(members[i].name, names[i]);
        EXPECT_EQ(members[i].content, "content of " + names[i]);
    }
}

TEST_F(PackingTest, PacksAFolderWhoseNameLooksLikeAnOption) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(site.path());
    for (const char* name : {"-x", "--help", "host:folder", " "}) {
        site.write(std::string(name) + "/file", "x");
        tests::await(packFolder(name, scanFolder(name), working.path(), {}));
        const std::vector<ArchiveMember> members = tests::readArchive(working.read("site.tgz"));
        EXPECT_THAT(members, ElementsAre(Field(&ArchiveMember::name, "file"))) << name;
    }
    std::filesystem::current_path(before);
}

TEST_F(PackingTest, WorksInAFolderWhoseNameHoldsAColon) {
    std::filesystem::create_directories(working / "host:x");
    site.write("file", "x");
    tests::await(packFolder(site.path(), scanFolder(site.path()), working / "host:x", helpers.path()));
    EXPECT_EQ(tests::readArchive(working.read("host:x/site.tgz")).size(), 1U);
}

TEST_F(PackingTest, RunsNothingThatAnInheritedTarOptionNames) {
    addProgram(records, "evil", "touch '" + (records / "ran").string() + "'\n");
    const ScopedVariable options("TAR_OPTIONS", QByteArray::fromStdString("--checkpoint=1 --checkpoint-action=exec=" +
                                                                          (records / "evil").string() +
                                                                          " --remove-files --exclude=*"));
    site.write("index.html", "x");
    site.write("large", randomBytes(200'000));
    EXPECT_THAT(packedNames(), ElementsAre("index.html", "large"));
    EXPECT_FALSE(std::filesystem::exists(records / "ran"));
    EXPECT_TRUE(std::filesystem::exists(site / "index.html"));
}

TEST_F(PackingTest, RunsNoProgramOfTheInheritedPath) {
    const TestFolder early;
    for (const char* name : {"gzip", "tar", "sh"}) {
        addProgram(early, name, "touch '" + (records / "ran").string() + "'\nexec /usr/bin/gzip \"$@\"\n");
    }
    const ScopedVariable path("PATH", QByteArray::fromStdString(early.path().string()) + ":" + qgetenv("PATH"));
    site.write("index.html", "x");
    EXPECT_THAT(packedNames(), ElementsAre("index.html"));
    EXPECT_FALSE(std::filesystem::exists(records / "ran"));
}

TEST_F(PackingTest, IgnoresInheritedOptionsOfGzip) {
    const ScopedVariable gzip("GZIP", "--no-such-option");
    site.write("index.html", "x");
    EXPECT_THAT(packedNames(), ElementsAre("index.html"));
}

TEST_F(PackingTest, CompressesWithTheHelperWhereThereIsOne) {
    addProgram(helpers, "gzip", "touch '" + (records / "ran").string() + "'\nexec /usr/bin/gzip \"$@\"\n");
    site.write("index.html", "x");
    EXPECT_THAT(packedNames(), ElementsAre("index.html"));
    EXPECT_TRUE(std::filesystem::exists(records / "ran"));
}

TEST_F(PackingTest, CompressesWithTheSystemsProgramWhereTheHelperIsALinkToNowhere) {
    std::filesystem::create_symlink(helpers / "missing", helpers / "gzip");
    site.write("index.html", "x");
    EXPECT_THAT(packedNames(), ElementsAre("index.html"));
}

TEST_F(PackingTest, CompressesWithTheSystemsProgramWithoutAFolderOfHelpers) {
    site.write("index.html", "x");
    for (const std::filesystem::path& none : {std::filesystem::path(), helpers / "missing"}) {
        tests::await(packFolder(site.path(), scanFolder(site.path()), working.path(), none));
        EXPECT_EQ(tests::readArchive(working.read("site.tgz")).size(), 1U);
    }
}

TEST_F(PackingTest, FailsWhereTheCompressionFails) {
    addProgram(helpers, "gzip", "cat >/dev/null\nexit 1\n");
    site.write("index.html", "x");
    EXPECT_EQ(refusal(), "tar exited with status 2");
}

TEST_F(PackingTest, FailsWhereAListedFileHasVanished) {
    site.write("a", "x");
    site.write("b", "x");
    const FolderScan files = scanFolder(site.path());
    std::filesystem::remove(site / "a");
    EXPECT_EQ(refusalOf(files), "tar exited with status 2");
}

TEST_F(PackingTest, FailsWhereAListedFileCannotBeRead) {
    const tests::Unprivileged person;
    const TestFolder folder;
    const TestFolder own;
    folder.write("file", "x");
    checked(::chmod((folder / "file").c_str(), 0), "chmod");
    try {
        tests::await(packFolder(folder.path(), scanFolder(folder.path()), own.path(), {}));
        FAIL() << "packed a file that cannot be read";
    } catch (const PlatformError& failure) {
        EXPECT_EQ(failure.description(), QStringLiteral("tar exited with status 2"));
    }
}

TEST_F(PackingTest, PacksNothingWithinAListedFileThatBecameAFolder) {
    site.write("a", "x");
    site.write("b", "x");
    const FolderScan files = scanFolder(site.path());
    std::filesystem::remove(site / "a");
    site.write("a/.env", "secret");
    pack(files);
    for (const ArchiveMember& member : tests::readArchive(working.read("site.tgz"))) {
        EXPECT_EQ(member.content.find("secret"), std::string::npos) << member.name;
    }
}

TEST_F(PackingTest, FollowsNoListedFileThatBecameALink) {
    const TestFolder outside;
    outside.write("secret", "secret");
    site.write("a", "x");
    const FolderScan files = scanFolder(site.path());
    std::filesystem::remove(site / "a");
    std::filesystem::create_symlink(outside / "secret", site / "a");
    pack(files);
    const std::vector<ArchiveMember> members = tests::readArchive(working.read("site.tgz"));
    ASSERT_EQ(members.size(), 1U);
    EXPECT_EQ(members[0].type, '2');
    EXPECT_EQ(members[0].content, "");
}

TEST_F(PackingTest, PacksPathsAsLongAsTheFormatHolds) {
    // 155 bytes before a slash and 100 after it.
    const std::string longest = std::string(154, 'p') + "/" + std::string(100, 'n');
    site.write(longest, "x");
    EXPECT_THAT(packedNames(), ElementsAre(longest));
}

TEST_F(PackingTest, FailsWhereANameIsTooLongForTheFormat) {
    for (const std::string& name :
         {std::string(101, 'n'), std::string(156, 'p') + "/n", std::string(150, 'p') + "/" + std::string(101, 'n')}) {
        const TestFolder folder;
        folder.write("short", "x");
        folder.write(name, "x");
        try {
            tests::await(packFolder(folder.path(), scanFolder(folder.path()), working.path(), {}));
            ADD_FAILURE() << "packed a name of " << name.size() << " bytes";
        } catch (const PlatformError& failure) {
            EXPECT_EQ(failure.description(), QStringLiteral("tar exited with status 2"));
        }
    }
}

TEST_F(PackingTest, FailsWhereAFileIsTooLargeForTheFormat) {
    site.write("large", "");
    std::filesystem::resize_file(site / "large", std::uintmax_t{8} << 30);
    EXPECT_EQ(refusal(), "tar exited with status 2");
}

TEST_F(PackingTest, FailsWhereThePiecesOfANameWithALineFeedAreNoFiles) {
    site.write("a\nb", "x");
    EXPECT_EQ(refusal(), "tar exited with status 2");
}

TEST_F(PackingTest, RefusesANameWithALineFeedWhosePiecesAreFiles) {
    site.write("a", "x");
    site.write("b", "x");
    site.write("a\nb", "x");
    EXPECT_EQ(refusal(), "the name of “a␤b” holds a line break and cannot be packed");
}

TEST_F(PackingTest, RefusesANameWithALineFeedWhosePieceIsAHiddenFile) {
    site.write(".env", "secret");
    site.write("a", "x");
    site.write("a\n.env", "x");
    EXPECT_EQ(refusal(), "the name of “a␤.env” holds a line break and cannot be packed");
}

TEST_F(PackingTest, RefusesAFolderWithALineFeedInItsNameToo) {
    site.write("a", "x");
    site.write("b/c", "x");
    site.write("a\nb/c", "x");
    EXPECT_EQ(refusal(), "the name of “a␤b/c” holds a line break and cannot be packed");
}

TEST_F(PackingTest, TakesNothingFromOutsideIntoAnArchiveThatIsRefused) {
    const TestFolder outside;
    outside.write("secret", "secret");
    // The second lines lead to the secret: by its absolute path, and from the folder upwards.
    site.write("a", "x");
    site.write("a\n" + (outside / "secret").string(), "x");
    site.write("a\n../" + outside.path().filename().string() + "/secret", "x");
    EXPECT_THAT(refusal(), HasSubstr("holds a line break"));
    for (const ArchiveMember& member : tests::readArchive(working.read("site.tgz"))) {
        EXPECT_THAT(member.content, Not(HasSubstr("secret"))) << member.name;
    }
}

TEST_F(PackingTest, FailsWhereTheFolderIsGone) {
    site.write("a/file", "x");
    const FolderScan files = scanFolder(site.path());
    std::filesystem::remove_all(site.path());
    EXPECT_EQ(refusalOf(files), "tar exited with status 2");
}

TEST_F(PackingTest, FailsWhereTheDiskIsFull) {
    std::filesystem::create_symlink("/dev/full", working / "site.tgz");
    site.write("file", randomBytes(1'000'000));
    EXPECT_EQ(refusal(), "tar exited with status 2");
}

TEST_F(PackingTest, FailsWithTheSystemsErrorWhereTheListCannotBeWritten) {
    const tests::Unprivileged person;
    const TestFolder own;
    const tests::ScopedMode readOnly(own.path(), S_IRUSR | S_IXUSR);
    FolderScan files;
    files.paths = {"file"};
    try {
        tests::await(packFolder(own.path(), files, own.path(), {}));
        FAIL() << "wrote into a folder that cannot be written";
    } catch (const std::system_error& failure) {
        EXPECT_EQ(failure.code(), std::errc::permission_denied);
    }
}

TEST_F(PackingTest, FailsWithTheSystemsErrorWhereTheWorkingFolderIsMissing) {
    site.write("file", "x");
    try {
        tests::await(packFolder(site.path(), scanFolder(site.path()), working / "missing", {}));
        FAIL() << "wrote into a folder that is not there";
    } catch (const std::system_error& failure) {
        EXPECT_EQ(failure.code(), std::errc::no_such_file_or_directory);
    }
}

TEST_F(PackingTest, LeavesNoChildAndNoDescriptorBehindHoweverItEnds) {
    site.write("file", "x");
    const FolderScan files = scanFolder(site.path());
    FolderScan vanished = files;
    vanished.paths.push_back("vanished");
    pack(files);
    const tests::ProcessState before = tests::ProcessState::now();
    pack(files);
    EXPECT_EQ(refusalOf(vanished), "tar exited with status 2");
    EXPECT_THROW(tests::await(packFolder(site.path(), files, working / "missing", {})), std::system_error);
    tests::settle();
    EXPECT_EQ(tests::ProcessState::now(), before);
}

} // namespace
} // namespace driftwell
