#include "deploy/Packing.h"

#include "platform/PlatformError.h"
#include "support/SystemError.h"
#include "support/UniqueFd.h"
#include "tests/Await.h"
#include "tests/deploy/ArchiveReader.h"
#include "tests/deploy/ProcessState.h"
#include "tests/deploy/Swapper.h"
#include "tests/deploy/Unprivileged.h"
#include "tests/ForbiddenCall.h"
#include "tests/ScopedVariable.h"
#include "tests/support/TestFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <random>
#include <set>
#include <system_error>
#include <thread>
#include <utility>

namespace driftwell {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
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

std::string changed(const std::string& path) {
    return "“" + path + "” was changed or removed while the folder was being packed, nothing was sent";
}

timespec timeOf(clockid_t clock) {
    timespec now{};
    checked(::clock_gettime(clock, &now), "clock_gettime");
    return now;
}

/// What is scanned from now on is scanned in a later tick than what was written before. Since Linux 6.13 a file may be
/// stamped more finely than by the tick, and a tick may come late: so one that begins after this very moment.
void waitForTheNextTick() {
    const timespec start = timeOf(CLOCK_REALTIME);
    const auto isLater = [&start](const timespec& time) {
        return std::pair(time.tv_sec, time.tv_nsec) > std::pair(start.tv_sec, start.tv_nsec);
    };
    while (!isLater(timeOf(CLOCK_REALTIME_COARSE))) {
        std::this_thread::yield();
    }
}

/// A site to pack, a folder to work in, and a folder of helper programs.
struct PackingTest : testing::Test {
    std::filesystem::path pack(const FolderScan& files) const {
        return tests::await(packFolder(site.path(), files, working.path(), helpers.path()));
    }

    std::vector<ArchiveMember> packedMembers() const {
        pack(FolderScan::scan(site.path()));
        return tests::readArchive(working.read("site.tgz"));
    }

    std::vector<std::string> packedNames() const {
        std::vector<std::string> names;
        for (const ArchiveMember& member : packedMembers()) {
            names.push_back(member.name);
        }
        return names;
    }

    /// The words of the platform error that packing ends with.
    std::string refusalOf(const FolderScan& files) const { return refusalOf(files, helpers.path()); }

    std::string refusalOf(const FolderScan& files, const std::filesystem::path& compressors) const {
        try {
            tests::await(packFolder(site.path(), files, working.path(), compressors));
            return "none";
        } catch (const PlatformError& failure) {
            EXPECT_EQ(failure.kind(), PlatformError::Kind::Api);
            return failure.description().toStdString();
        }
    }

    /// Of what was all there before it is scanned.
    std::string refusal() const {
        waitForTheNextTick();
        return refusalOf(FolderScan::scan(site.path()));
    }

    void addProgram(const TestFolder& folder, const std::string& name, const std::string& script) {
        folder.write(name, "#!/bin/sh\n" + script);
        checked(::chmod((folder / name).c_str(), S_IRWXU), "chmod");
    }

    /// What stands in a file of tar's in /proc while it packs; its compressor waits until it was looked at.
    std::vector<std::string> lookAtTar(const std::string& file) {
        checked(::mkfifo((helpers / "go").c_str(), S_IRUSR | S_IWUSR), "mkfifo");
        const UniqueFd go(checked(::open((helpers / "go").c_str(), O_RDWR | O_CLOEXEC), "open"));
        addProgram(helpers, "gzip",
                   ": >'" + (records / "started").string() + "'\nread line <'" + (helpers / "go").string() +
                       "'\nexec /usr/bin/gzip \"$@\"\n");
        Task<std::filesystem::path> packing =
            packFolder(site.path(), FolderScan::scan(site.path()), working.path(), helpers.path());
        tests::waitUntil([this] { return std::filesystem::exists(records / "started"); });
        const std::set<pid_t> children = tests::ProcessState::now().children;
        EXPECT_EQ(children.size(), 1U);
        std::ifstream stream("/proc/" + std::to_string(*children.begin()) + "/" + file);
        const std::string text{std::istreambuf_iterator<char>(stream), {}};
        checked(::write(go.get(), "\n", 1), "write");
        tests::await(std::move(packing));
        return zeroTerminated(text);
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
    EXPECT_EQ(pack(FolderScan::scan(site.path())), working / "site.tgz");
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
    EXPECT_THAT(lookAtTar("cmdline"),
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
    const std::vector<std::string> environment = lookAtTar("environ");
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
        tests::await(packFolder(name, FolderScan::scan(name), working.path(), {}));
        const std::vector<ArchiveMember> members = tests::readArchive(working.read("site.tgz"));
        EXPECT_THAT(members, ElementsAre(Field(&ArchiveMember::name, "file"))) << name;
    }
    std::filesystem::current_path(before);
}

TEST_F(PackingTest, WorksInAFolderWhoseNameHoldsAColon) {
    std::filesystem::create_directories(working / "host:x");
    site.write("file", "x");
    tests::await(packFolder(site.path(), FolderScan::scan(site.path()), working / "host:x", helpers.path()));
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
        tests::await(packFolder(site.path(), FolderScan::scan(site.path()), working.path(), none));
        EXPECT_EQ(tests::readArchive(working.read("site.tgz")).size(), 1U);
    }
}

TEST_F(PackingTest, NamesWhatWasExchangedAndPutBackInTheTickInWhichTheScanBegan) {
    addProgram(helpers, "gzip", "cat >/dev/null\nexit 1\n");
    site.write("index.html", "x");
    waitForTheNextTick();
    FolderScan files = FolderScan::scan(site.path());
    std::filesystem::rename(site / "index.html", site / "other");
    std::filesystem::rename(site / "other", site / "index.html");
    struct stat attributes {};
    checked(::stat((site / "index.html").c_str(), &attributes), "stat");
    files.begun = attributes.st_ctim;
    EXPECT_EQ(refusalOf(files), "tar exited with status 2: " + changed("index.html"));
}

TEST_F(PackingTest, FailsWhereTheCompressionFails) {
    addProgram(helpers, "gzip", "cat >/dev/null\nexit 1\n");
    site.write("index.html", "x");
    EXPECT_EQ(refusal(), "tar exited with status 2");
}

TEST_F(PackingTest, NamesAListedFileThatHasVanished) {
    site.write("a", "x");
    site.write("b", "x");
    const FolderScan files = FolderScan::scan(site.path());
    std::filesystem::remove(site / "a");
    EXPECT_EQ(refusalOf(files), "tar exited with status 2: " + changed("a"));
}

TEST_F(PackingTest, NamesAListedFileThatCannotBeRead) {
    const tests::Unprivileged person;
    const TestFolder folder;
    const TestFolder own;
    folder.write("file", "x");
    checked(::chmod((folder / "file").c_str(), 0), "chmod");
    try {
        tests::await(packFolder(folder.path(), FolderScan::scan(folder.path()), own.path(), {}));
        FAIL() << "packed a file that cannot be read";
    } catch (const PlatformError& failure) {
        EXPECT_EQ(failure.description().toStdString(),
                  "tar exited with status 2: “file” cannot be read: Permission denied");
    }
}

TEST_F(PackingTest, RefusesWhatIsNotAnyMoreAsItWasScanned) {
    const TestFolder outside;
    outside.write("secret", "secret");
    const std::vector<std::pair<std::string, std::function<void()>>> changes{
        {"a folder",
         [this] {
             site.write("a/.env", "secret");
         }},
        {"a link",
         [&] {
             std::filesystem::create_symlink(outside / "secret", site / "a");
         }},
        {"a link to nowhere",
         [this] {
             std::filesystem::create_symlink("nowhere", site / "a");
         }},
        {"a pipe",
         [this] {
             checked(::mkfifo((site / "a").c_str(), S_IRUSR | S_IWUSR), "mkfifo");
         }},
        {"another size",
         [this] {
             site.write("a", "longer");
         }},
        {"another time",
         [this] {
             site.write("a", "y");
             std::filesystem::last_write_time(site / "a",
                                              std::filesystem::file_time_type::clock::now() - std::chrono::hours(24));
         }},
    };
    for (const std::filesystem::path& compressors : {helpers.path(), std::filesystem::path(DRIFTWELL_HELPERS)}) {
        for (const auto& [name, change] : changes) {
            SCOPED_TRACE(name + " with " + compressors.string());
            std::filesystem::remove_all(site / "a");
            std::filesystem::remove_all(working.path());
            std::filesystem::create_directory(working.path());
            site.write("a", "x");
            site.write("b", "x");
            const FolderScan files = FolderScan::scan(site.path());
            std::filesystem::remove(site / "a");
            change();
            EXPECT_EQ(refusalOf(files, compressors), changed("a"));
        }
    }
}

TEST_F(PackingTest, ComparesWithWhatTheCompressorOfItsOwnSaw) {
    site.write("index.html", "x");
    site.write("a/large", randomBytes(3'000'000));
    const FolderScan files = FolderScan::scan(site.path());
    tests::await(packFolder(site.path(), files, working.path(), DRIFTWELL_HELPERS));
    const std::vector<ArchiveMember> members = tests::readArchive(working.read("site.tgz"));
    ASSERT_EQ(members.size(), 2U);
    EXPECT_EQ(members[0].content.size(), 3'000'000U);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(working.path()), {}), 2);
}

/// Packs a folder again and again while in it a folder is exchanged with a link that leads out of it, to files of the
/// same names, sizes and times. Some of the rounds must fail, and nothing from outside may ever be packed.
void packWhileAFolderIsSwappedForALink() {
    const TestFolder outside;
    const TestFolder site;
    site.write("index.html", "x");
    const std::filesystem::file_time_type time = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1);
    for (int i = 0; i < 20; ++i) {
        const std::string name = std::to_string(i);
        outside.write(name, "secret");
        site.write("one/" + name, "public");
        std::filesystem::last_write_time(outside / name, time);
        std::filesystem::last_write_time(site / "one" / name, time);
    }
    std::filesystem::create_symlink(outside.path(), site / "two");
    const tests::Swapper swapper(site / "one", site / "two");
    int packed = 0;
    int refused = 0;
    for (int round = 0; round < 60 || packed < 5 || refused < 5; ++round) {
        ASSERT_LT(round, 5'000) << packed << " packed, " << refused << " refused";
        const TestFolder working;
        try {
            tests::await(packFolder(site.path(), FolderScan::scan(site.path()), working.path(), DRIFTWELL_HELPERS));
            ++packed;
        } catch (const PlatformError& failure) {
            EXPECT_THAT(failure.description().toStdString(), HasSubstr("was changed or removed"));
            ++refused;
            continue;
        }
        for (const ArchiveMember& member : tests::readArchive(working.read("site.tgz"))) {
            ASSERT_NE(member.content, "secret") << member.name;
            ASSERT_EQ(member.type, '0') << member.name;
        }
    }
}

TEST_F(PackingTest, NeverPacksAnythingFromOutsideWhileAFolderIsSwappedForALink) {
    packWhileAFolderIsSwappedForALink();
}

TEST_F(PackingTest, NeverPacksAnythingFromOutsideWhereTheKernelCannotConfineTar) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto child = [] {
        tests::forbidCall(SYS_landlock_create_ruleset, ENOSYS);
        packWhileAFolderIsSwappedForALink();
        std::exit(testing::Test::HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(child(), testing::ExitedWithCode(0), "");
}

TEST_F(PackingTest, PacksTheSameWhereTheKernelCannotConfineTar) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto child = [this] {
        tests::forbidCall(SYS_landlock_create_ruleset, EPERM);
        site.write("a/b/c", "deep");
        site.write("a/d", "");
        site.write("-C..", randomBytes(2'500'000));
        checked(::chmod((site / "a/d").c_str(), 0750), "chmod");
        const std::vector<ArchiveMember> members = packedMembers();
        EXPECT_THAT(members, ElementsAre(Field(&ArchiveMember::name, "-C.."), Field(&ArchiveMember::name, "a/b/c"),
                                         Field(&ArchiveMember::name, "a/d")));
        EXPECT_EQ(members.at(0).content, randomBytes(2'500'000));
        EXPECT_EQ(members.at(1).content, "deep");
        EXPECT_EQ(members.at(2).mode & ALLPERMS, 0750U);
        EXPECT_EQ(static_cast<std::int64_t>(members.at(1).modified),
                  FolderScan::scan(site.path()).attributes.at(1).modified);
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(working.path()), {}), 2);

        std::filesystem::remove(site / "a/d");
        const FolderScan files = FolderScan::scan(site.path());
        site.write("a/b/c", "longer than before");
        EXPECT_EQ(refusalOf(files), changed("a/b/c"));
        std::exit(HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(child(), testing::ExitedWithCode(0), "");
}

TEST_F(PackingTest, RefusesAFolderThatAnotherOneTookThePlaceOf) {
    site.write("site/a", "x");
    const FolderScan files = FolderScan::scan(site / "site");
    std::filesystem::rename(site / "site", site / "before");
    std::filesystem::copy(site / "before", site / "site", std::filesystem::copy_options::recursive);
    try {
        tests::await(packFolder(site / "site", files, working.path(), {}));
        FAIL() << "packed another folder than the one that was scanned";
    } catch (const PlatformError& failure) {
        EXPECT_EQ(failure.description().toStdString(), changed((site / "site").string()));
    }
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
            tests::await(packFolder(folder.path(), FolderScan::scan(folder.path()), working.path(), {}));
            ADD_FAILURE() << "packed a name of " << name.size() << " bytes";
        } catch (const PlatformError& failure) {
            EXPECT_EQ(failure.description().toStdString(),
                      "tar exited with status 2: the path of “" + name +
                          "” is too long: at most 100 bytes are possible in the name and 155 before it");
        }
    }
}

TEST_F(PackingTest, FailsWhereAFileIsTooLargeForTheFormat) {
    site.write("large", "");
    std::filesystem::resize_file(site / "large", std::uintmax_t{8} << 30);
    EXPECT_EQ(refusal(), "tar exited with status 2: “large” is too large: a file has to be smaller than 8 GiB");
}

TEST_F(PackingTest, FailsWhereThePiecesOfANameWithALineFeedAreNoFiles) {
    site.write("a\nb", "x");
    EXPECT_EQ(refusal(), "tar exited with status 2: the name of “a␤b” holds a line break and cannot be packed");
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
    const FolderScan files = FolderScan::scan(site.path());
    std::filesystem::remove_all(site.path());
    EXPECT_EQ(refusalOf(files), changed(site.path().string()));
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
        tests::await(packFolder(site.path(), FolderScan::scan(site.path()), working / "missing", {}));
        FAIL() << "wrote into a folder that is not there";
    } catch (const std::system_error& failure) {
        EXPECT_EQ(failure.code(), std::errc::no_such_file_or_directory);
    }
}

TEST_F(PackingTest, GivesAllFilesThePresentTimeWhereTheFormatCannotHoldOne) {
    site.write("a", "x");
    site.write("b", "x");
    const auto set = [this](const char* file, std::int64_t seconds) {
        const std::array<timespec, 2> times{timespec{0, UTIME_OMIT}, timespec{seconds, 0}};
        checked(::utimensat(AT_FDCWD, (site / file).c_str(), times.data(), 0), "utimensat");
    };
    set("b", 1'000'000'000);
    for (const std::int64_t impossible : {std::int64_t{-1}, std::int64_t{-300'000'000}, std::int64_t{1} << 33}) {
        SCOPED_TRACE(impossible);
        set("a", impossible);
        const std::time_t before = std::time(nullptr);
        const std::vector<ArchiveMember> members = packedMembers();
        ASSERT_EQ(members.size(), 2U);
        for (const ArchiveMember& member : members) {
            EXPECT_GE(member.modified, static_cast<std::uint64_t>(before)) << member.name;
            EXPECT_LE(member.modified, static_cast<std::uint64_t>(std::time(nullptr))) << member.name;
        }
        std::filesystem::remove(working / "site.tgz");
    }
}

TEST_F(PackingTest, KeepsTheTimesOfTheFiles) {
    site.write("a", "x");
    const std::array<timespec, 2> times{timespec{0, UTIME_OMIT}, timespec{0, 0}};
    checked(::utimensat(AT_FDCWD, (site / "a").c_str(), times.data(), 0), "utimensat");
    const std::vector<ArchiveMember> members = packedMembers();
    ASSERT_EQ(members.size(), 1U);
    EXPECT_EQ(members[0].modified, 0U);
}

TEST_F(PackingTest, RefusesAnArchiveThatWasCutShortWithoutAWord) {
    addProgram(helpers, "gzip", "/usr/bin/gzip | /usr/bin/head -c 50000\n");
    site.write("large", randomBytes(200'000));
    EXPECT_THAT(refusal(),
                AllOf(StartsWith("the archive was not written as a whole ("), HasSubstr("nothing was sent")));
}

TEST_F(PackingTest, RefusesAnArchiveThatSomethingFollows) {
    addProgram(helpers, "gzip", "/usr/bin/gzip\necho more\n");
    site.write("a", "x");
    EXPECT_THAT(refusal(), StartsWith("the archive was not written as a whole ("));
}

TEST_F(PackingTest, RefusesAnArchiveOfFewerFilesThanTheScanFound) {
    // tar makes nothing of a list that it cannot read to its end.
    addProgram(helpers, "gzip",
               "cat >/dev/null\ncd '" + records.path().string() +
                   "' && : >b && /usr/bin/tar -c --format ustar -T /dev/null | /usr/bin/gzip\n");
    site.write("a", "x");
    site.write("b", "x");
    EXPECT_EQ(refusal(), "only 0 of 2 files were packed, nothing was sent");
}

TEST_F(PackingTest, SaysWhereThereIsNoRoomLeft) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can make a small disk";
    }
    const std::filesystem::path disk = working / "disk";
    std::filesystem::create_directory(disk);
    checked(::mount("none", disk.c_str(), "tmpfs", 0, "size=1m"), "mount");
    site.write("large", randomBytes(3'000'000));
    std::filesystem::create_directory(disk / "working");
    std::string told;
    try {
        tests::await(packFolder(site.path(), FolderScan::scan(site.path()), disk / "working", helpers.path()));
    } catch (const PlatformError& failure) {
        told = failure.description().toStdString();
    }
    ::umount(disk.c_str());
    EXPECT_EQ(told, "tar exited with status 2: there is no room left in " + disk.string());
}

TEST_F(PackingTest, LeavesNoChildAndNoDescriptorBehindHoweverItEnds) {
    site.write("file", "x");
    const FolderScan files = FolderScan::scan(site.path());
    FolderScan vanished = files;
    vanished.paths.emplace_back("vanished");
    vanished.attributes.emplace_back();
    pack(files);
    // A thread lets go of what it held a moment after it has given its result.
    tests::ProcessState before;
    tests::waitUntil([&before] {
        before = tests::ProcessState::now();
        return testing::PrintToString(before).find("landlock") == std::string::npos;
    });
    pack(files);
    EXPECT_EQ(refusalOf(vanished), "tar exited with status 2: " + changed("vanished"));
    EXPECT_THROW(tests::await(packFolder(site.path(), files, working / "missing", {})), std::system_error);
    tests::waitUntil([&before] { return tests::ProcessState::now() == before; });
}

} // namespace
} // namespace driftwell
