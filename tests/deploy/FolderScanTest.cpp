#include "deploy/FolderScan.h"

#include "platform/PlatformError.h"
#include "support/Cancellation.h"
#include "support/SystemError.h"
#include "tests/Await.h"
#include "tests/deploy/DeepTree.h"
#include "tests/deploy/FolderWatch.h"
#include "tests/deploy/ProcessState.h"
#include "tests/deploy/Swapper.h"
#include "tests/deploy/Unprivileged.h"
#include "tests/ForbiddenCall.h"
#include "tests/support/TestFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <pthread.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fstream>
#include <list>
#include <system_error>
#include <thread>

namespace driftwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using tests::TestFolder;

std::vector<std::string> filesIn(const TestFolder& folder) {
    return FolderScan::scan(folder.path()).paths;
}

void makeFolder(const TestFolder& folder, std::string_view name) {
    std::filesystem::create_directories(folder / name);
}

void makeLink(const TestFolder& folder, std::string_view name, const std::string& target) {
    checked(::symlink(target.c_str(), (folder / name).c_str()), "symlink");
}

void makeSpecialFile(const TestFolder& folder, std::string_view name, mode_t kind) {
    checked(::mknod((folder / name).c_str(), kind | S_IRUSR | S_IWUSR, 0), "mknod");
}

/// The words of the platform error that a scan ends with, or what it found instead.
std::string refusalOf(const std::filesystem::path& folder) {
    try {
        return "no refusal but " + std::to_string(FolderScan::scan(folder).fileCount) + " files";
    } catch (const PlatformError& failure) {
        EXPECT_EQ(failure.kind(), PlatformError::Kind::Api);
        return failure.description().toStdString();
    }
}

TEST(FolderScanTest, FindsNothingInAnEmptyFolder) {
    const TestFolder folder;
    const FolderScan scan = FolderScan::scan(folder.path());
    EXPECT_EQ(scan.fileCount, 0);
    EXPECT_EQ(scan.byteCount, 0);
    EXPECT_THAT(scan.paths, IsEmpty());
}

TEST(FolderScanTest, FindsNoFilesInFoldersThatHoldOnlyFolders) {
    const TestFolder folder;
    makeFolder(folder, "a/b/c");
    makeFolder(folder, "d");
    EXPECT_THAT(filesIn(folder), IsEmpty());
}

TEST(FolderScanTest, FindsNothingWhereEverythingIsLeftOut) {
    const TestFolder folder;
    folder.write(".env", "secret");
    folder.write(".git/config", "x");
    folder.write("node_modules/a/index.js", "x");
    folder.write("skills/a/SKILL.md", "x");
    folder.write("CLAUDE.md", "x");
    makeLink(folder, "link", "/etc/passwd");
    const FolderScan scan = FolderScan::scan(folder.path());
    EXPECT_EQ(scan.fileCount, 0);
    EXPECT_EQ(scan.byteCount, 0);
    EXPECT_THAT(scan.paths, IsEmpty());
}

TEST(FolderScanTest, ListsFilesAtAnyDepthAndAddsTheirSizesUp) {
    const TestFolder folder;
    folder.write("index.html", "12345");
    folder.write("a/style.css", "123");
    folder.write("a/b/c/d/deep.txt", "1");
    folder.write("no extension", "12");
    const FolderScan scan = FolderScan::scan(folder.path());
    EXPECT_THAT(scan.paths, ElementsAre("a/b/c/d/deep.txt", "a/style.css", "index.html", "no extension"));
    EXPECT_EQ(scan.fileCount, 4);
    EXPECT_EQ(scan.byteCount, 11);
}

TEST(FolderScanTest, ListsFilesOfZeroLength) {
    const TestFolder folder;
    folder.write("empty", "");
    folder.write("a/empty", "");
    const FolderScan scan = FolderScan::scan(folder.path());
    EXPECT_THAT(scan.paths, ElementsAre("a/empty", "empty"));
    EXPECT_EQ(scan.byteCount, 0);
}

TEST(FolderScanTest, CountsBytesPastFourGigabytes) {
    const TestFolder folder;
    for (const char* name : {"a", "b"}) {
        folder.write(name, "");
        std::filesystem::resize_file(folder / name, 3'000'000'001); // takes no room
    }
    EXPECT_EQ(FolderScan::scan(folder.path()).byteCount, 6'000'000'002);
}

TEST(FolderScanTest, LeavesOutHiddenFilesAndFoldersAtAnyDepth) {
    const TestFolder folder;
    folder.write(".env", "x");
    folder.write(".git/objects/aa/bb", "x");
    folder.write("a/.DS_Store", "x");
    folder.write("a/.cache/b/c.txt", "x");
    folder.write("a/b/..c", "x");
    folder.write("a/b/.../d", "x");
    folder.write("a/b/not.hidden", "x");
    folder.write("a/b/trailing.", "x");
    EXPECT_THAT(filesIn(folder), ElementsAre("a/b/not.hidden", "a/b/trailing."));
}

TEST(FolderScanTest, LeavesOutFoldersCalledNodeModulesAtAnyDepth) {
    const TestFolder folder;
    folder.write("node_modules/x.js", "x");
    folder.write("vendor/node_modules/x.js", "x");
    folder.write("vendor/node_modules/a/b/x.js", "x");
    folder.write("vendor/x.js", "x");
    EXPECT_THAT(filesIn(folder), ElementsAre("vendor/x.js"));
}

TEST(FolderScanTest, ListsAFileCalledNodeModules) {
    const TestFolder folder;
    folder.write("node_modules", "x");
    folder.write("a/node_modules", "x");
    EXPECT_THAT(filesIn(folder), ElementsAre("a/node_modules", "node_modules"));
}

TEST(FolderScanTest, TakesOnlyTheExactNameNodeModules) {
    const TestFolder folder;
    folder.write("Node_Modules/x", "x");
    folder.write("node_modules2/x", "x");
    folder.write("node_module/x", "x");
    folder.write("my_node_modules/x", "x");
    EXPECT_THAT(filesIn(folder),
                ElementsAre("Node_Modules/x", "my_node_modules/x", "node_module/x", "node_modules2/x"));
}

TEST(FolderScanTest, LeavesOutTheFolderSkillsAtTheTopOnly) {
    const TestFolder folder;
    folder.write("skills/a.txt", "x");
    folder.write("skills/b/c.txt", "x");
    folder.write("docs/skills/a.txt", "x");
    folder.write("skills2/a.txt", "x");
    folder.write("Skills/a.txt", "x");
    EXPECT_THAT(filesIn(folder), ElementsAre("Skills/a.txt", "docs/skills/a.txt", "skills2/a.txt"));
}

TEST(FolderScanTest, ListsAFileCalledSkillsAtTheTop) {
    const TestFolder folder;
    folder.write("skills", "x");
    EXPECT_THAT(filesIn(folder), ElementsAre("skills"));
}

TEST(FolderScanTest, LeavesOutTheFileForCodingAgentsAtTheTopOnly) {
    const TestFolder folder;
    folder.write("CLAUDE.md", "x");
    folder.write("docs/CLAUDE.md", "x");
    folder.write("Claude.md", "x");
    folder.write("CLAUDE.md.txt", "x");
    EXPECT_THAT(filesIn(folder), ElementsAre("CLAUDE.md.txt", "Claude.md", "docs/CLAUDE.md"));
}

TEST(FolderScanTest, EntersAFolderThatIsCalledLikeTheFileForCodingAgents) {
    const TestFolder folder;
    folder.write("CLAUDE.md/a.txt", "x");
    EXPECT_THAT(filesIn(folder), ElementsAre("CLAUDE.md/a.txt"));
}

TEST(FolderScanTest, NeitherListsNorFollowsLinks) {
    const TestFolder outside;
    outside.write("secret/file", "secret");
    const TestFolder folder;
    folder.write("real/file", "x");
    makeLink(folder, "to-file", "real/file");
    makeLink(folder, "to-folder", "real");
    makeLink(folder, "to-file-outside", outside / "secret/file");
    makeLink(folder, "to-folder-outside", outside / "secret");
    makeLink(folder, "to-nowhere", "nowhere");
    makeLink(folder, "to-itself", "to-itself");
    makeLink(folder, "to-the-top", ".");
    makeLink(folder, "real/to-above", "..");
    makeLink(folder, "index.html", "real/file");
    EXPECT_THAT(filesIn(folder), ElementsAre("real/file"));
}

TEST(FolderScanTest, FollowsALinkToTheFolderItself) {
    const TestFolder real;
    real.write("a/file", "x");
    const TestFolder folder;
    makeLink(folder, "link", real.path());
    EXPECT_THAT(FolderScan::scan(folder / "link").paths, ElementsAre("a/file"));
}

TEST(FolderScanTest, LeavesOutPipesAndSocketsWithoutWaitingForThem) {
    const TestFolder folder;
    folder.write("file", "x");
    makeFolder(folder, "a");
    makeSpecialFile(folder, "pipe", S_IFIFO);
    makeSpecialFile(folder, "a/pipe", S_IFIFO);
    makeSpecialFile(folder, "socket", S_IFSOCK);
    makeSpecialFile(folder, "index.html", S_IFSOCK);
    EXPECT_THAT(filesIn(folder), ElementsAre("file"));
}

TEST(FolderScanTest, CountsEveryNameOfAFileThatHasSeveral) {
    const TestFolder folder;
    folder.write("one", "12345");
    makeFolder(folder, "a");
    std::filesystem::create_hard_link(folder / "one", folder / "two");
    std::filesystem::create_hard_link(folder / "one", folder / "a/three");
    const FolderScan scan = FolderScan::scan(folder.path());
    EXPECT_THAT(scan.paths, ElementsAre("a/three", "one", "two"));
    EXPECT_EQ(scan.byteCount, 15);
}

TEST(FolderScanTest, SortsWholePathsByTheirBytes) {
    const TestFolder folder;
    // The last three: a letter and an emoji in UTF-8, and a byte that is in no UTF-8.
    const std::vector<std::string> sorted{" a",  "A",  "B/z",  "a", "a b", "a!/x", "a-b",      "a.b",
                                          "a0",  "aa", "b\\c", "z", "~",   "\x7f", "\xc3\xa4", "\xf0\x9f\x98\x80",
                                          "\xff"};
    for (const std::string& path : sorted) {
        folder.write(path, "x");
    }
    EXPECT_EQ(filesIn(folder), sorted);
}

TEST(FolderScanTest, ComparesTheSlashLikeAnyOtherByte) {
    const TestFolder folder;
    for (const char* path : {"a/b", "a.b", "a0", "a-b", "a/b.c", "a/b-c"}) {
        folder.write(path, "x");
    }
    EXPECT_THAT(filesIn(folder), ElementsAre("a-b", "a.b", "a/b", "a/b-c", "a/b.c", "a0"));
}

TEST(FolderScanTest, KeepsNamesThatAreNotTextAsTheyAre) {
    const TestFolder folder;
    const std::vector<std::string> names{"\n", "\r\n", "a\nb", "b\tc", "c\xff\xfe", "d\xc3", "e\\n", "f'\"`$(g)"};
    for (const std::string& name : names) {
        folder.write(name, "x");
        folder.write("folder " + name + "/file", "x");
    }
    std::vector<std::string> expected = names;
    for (const std::string& name : names) {
        expected.push_back("folder " + name + "/file");
    }
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(filesIn(folder), expected);
}

TEST(FolderScanTest, ListsNamesOfTheGreatestLength) {
    const TestFolder folder;
    const std::string longest(NAME_MAX, 'n');
    folder.write(longest + "/" + longest, "x");
    EXPECT_THAT(filesIn(folder), ElementsAre(longest + "/" + longest));
}

TEST(FolderScanTest, ReachesTheBottomOfATreeDeeperThanAnyPath) {
    const TestFolder folder;
    const tests::DeepTree tree(folder.path(), "level", 3'000);
    ASSERT_GT(tree.file().size(), std::size_t{PATH_MAX});
    const FolderScan scan = FolderScan::scan(folder.path());
    EXPECT_THAT(scan.paths, ElementsAre(tree.file()));
    EXPECT_EQ(scan.byteCount, 4);
}

TEST(FolderScanTest, ReachesTheBottomOfADeepTreeOfLongNames) {
    const TestFolder folder;
    const tests::DeepTree tree(folder.path(), std::string(NAME_MAX, 'n'), 300);
    EXPECT_THAT(filesIn(folder), ElementsAre(tree.file()));
}

TEST(FolderScanTest, FindsEveryFileOnceWhereSeveralThreadsShareTheWork) {
    const TestFolder folder;
    std::vector<std::string> expected;
    std::int64_t bytes = 0;
    for (int i = 0; i < 400; ++i) {
        const std::string inner = std::to_string(i % 20) + "/" + std::to_string(i);
        makeFolder(folder, inner);
        for (int j = 0; j < 30; ++j) {
            expected.push_back(inner + "/" + std::to_string(j));
            folder.write(expected.back(), std::string(static_cast<std::size_t>(j), 'x'));
            bytes += j;
        }
    }
    std::sort(expected.begin(), expected.end());
    for (int round = 0; round < 5; ++round) {
        const FolderScan scan = FolderScan::scan(folder.path());
        ASSERT_EQ(scan.paths, expected);
        ASSERT_EQ(scan.fileCount, 12'000);
        ASSERT_EQ(scan.byteCount, bytes);
    }
}

/// New threads fail to start until the end of the scope: no memory is enough for their stacks.
class NoThreads {
public:
    NoThreads() {
        pthread_attr_t attributes;
        ::pthread_getattr_default_np(&attributes);
        ::pthread_attr_getstacksize(&attributes, &m_before);
        setStackSize(std::size_t{1} << 47);
    }
    ~NoThreads() { setStackSize(m_before); }
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;

private:
    static void setStackSize(std::size_t size) {
        pthread_attr_t attributes;
        ::pthread_getattr_default_np(&attributes);
        ::pthread_attr_setstacksize(&attributes, size);
        ::pthread_setattr_default_np(&attributes);
    }

    std::size_t m_before = 0;
};

TEST(FolderScanTest, ReadsAloneWhereNoMoreThreadsCanBeStarted) {
    const TestFolder folder;
    for (int i = 0; i < 200; ++i) {
        folder.write(std::to_string(i) + "/file", "x");
    }
    const NoThreads limit;
    ASSERT_THROW(std::thread([] {}).join(), std::system_error) << "threads can be started";
    EXPECT_EQ(FolderScan::scan(folder.path()).fileCount, 200);
}

TEST(FolderScanTest, LeavesOutASubfolderThatCannotBeRead) {
    const tests::Unprivileged person;
    const TestFolder folder;
    folder.write("locked/a/file", "x");
    folder.write("open/file", "x");
    folder.write("file", "x");
    const tests::ScopedMode locked(folder / "locked", 0);
    const FolderScan scan = FolderScan::scan(folder.path());
    EXPECT_THAT(scan.paths, ElementsAre("file", "open/file"));
    EXPECT_EQ(scan.unreadable, (FolderScan::Unreadable{1, {"locked"}}));
}

TEST(FolderScanTest, SaysThatNothingWasUnreadable) {
    const TestFolder folder;
    folder.write("a/file", "x");
    std::filesystem::create_directory(folder / "empty");
    EXPECT_EQ(FolderScan::scan(folder.path()).unreadable, FolderScan::Unreadable());
}

TEST(FolderScanTest, CountsWhatStaysBehindByItsReason) {
    const TestFolder folder;
    folder.write("index.html", "x");
    folder.write(".env", "x");
    folder.write(".git/objects/pack", "x");
    folder.write("deep/.DS_Store", "x");
    folder.write("node_modules/a/index.js", "x");
    folder.write("deep/node_modules/b/index.js", "x");
    folder.write("skills/dw.md", "x");
    folder.write("deep/skills/kept.md", "x");
    folder.write("CLAUDE.md", "x");
    std::filesystem::create_symlink("index.html", folder / "link");
    std::filesystem::create_directory_symlink("deep", folder / "linked");
    checked(::mkfifo((folder / "pipe").c_str(), S_IRUSR), "mkfifo");
    const FolderScan scan = FolderScan::scan(folder.path());
    EXPECT_THAT(scan.paths, ElementsAre("deep/skills/kept.md", "index.html"));
    EXPECT_EQ(scan.leftOut,
              (FolderScan::LeftOut{.hidden = 3, .links = 2, .dependencies = 2, .agentFiles = 2, .special = 1}));
    EXPECT_EQ(scan.leftOut.text(), QStringLiteral("Stays behind: 3 hidden items, 2 symbolic links, 2 node_modules "
                                                  "folders, 2 items for coding agents, 1 special file"));
}

TEST(FolderScanTest, SaysNothingOfAFolderOfWhichNothingStaysBehind) {
    const TestFolder folder;
    folder.write("a/file", "x");
    const FolderScan scan = FolderScan::scan(folder.path());
    EXPECT_EQ(scan.leftOut, FolderScan::LeftOut());
    EXPECT_EQ(scan.leftOut.text(), QString());
}

TEST(FolderScanTest, NamesTheFirstOfManySubfoldersThatCannotBeRead) {
    const tests::Unprivileged person;
    const TestFolder folder;
    folder.write("file", "x");
    std::vector<std::string> names;
    std::list<tests::ScopedMode> locked;
    for (int i = 100; i < 150; ++i) {
        names.push_back("a/" + std::to_string(i));
        std::filesystem::create_directories(folder / names.back());
        locked.emplace_back(folder / names.back(), 0);
    }
    const FolderScan::Unreadable unreadable = FolderScan::scan(folder.path()).unreadable;
    EXPECT_EQ(unreadable.count, 50);
    names.resize(20);
    EXPECT_EQ(unreadable.names, names);
}

TEST(FolderScanTest, LeavesOutASubfolderThatCanBeEnteredButNotListed) {
    const tests::Unprivileged person;
    const TestFolder folder;
    folder.write("locked/file", "x");
    folder.write("file", "x");
    const tests::ScopedMode locked(folder / "locked", S_IXUSR);
    const FolderScan scan = FolderScan::scan(folder.path());
    EXPECT_THAT(scan.paths, ElementsAre("file"));
    EXPECT_EQ(scan.unreadable, (FolderScan::Unreadable{1, {"locked"}}));
}

TEST(FolderScanTest, ListsAFileThatCannotBeRead) {
    const tests::Unprivileged person;
    const TestFolder folder;
    folder.write("file", "123");
    checked(::chmod((folder / "file").c_str(), 0), "chmod");
    const FolderScan scan = FolderScan::scan(folder.path());
    EXPECT_THAT(scan.paths, ElementsAre("file"));
    EXPECT_EQ(scan.byteCount, 3);
}

TEST(FolderScanTest, RefusesAFolderThatCannotBeRead) {
    const tests::Unprivileged person;
    const TestFolder folder;
    folder.write("site/file", "x");
    const tests::ScopedMode locked(folder / "site", S_IXUSR);
    EXPECT_EQ(refusalOf(folder / "site"), "cannot read " + (folder / "site").string());
}

TEST(FolderScanTest, RefusesAFolderThatIsNotThere) {
    const TestFolder folder;
    const std::filesystem::path missing = folder / "größer/als nichts";
    EXPECT_EQ(refusalOf(missing), "cannot read " + missing.string());
}

TEST(FolderScanTest, RefusesWhatIsNoFolder) {
    const TestFolder folder;
    folder.write("file", "x");
    makeSpecialFile(folder, "pipe", S_IFIFO);
    makeLink(folder, "to-nowhere", "nowhere");
    makeLink(folder, "to-itself", "to-itself");
    makeLink(folder, "to-file", "file");
    for (const char* name : {"file", "pipe", "to-nowhere", "to-itself", "to-file"}) {
        EXPECT_EQ(refusalOf(folder / name), "cannot read " + (folder / name).string());
    }
    EXPECT_EQ(refusalOf(""), "cannot read ");
}

/// The system's error that a scan ends with, and what it names.
std::string systemFailureOf(const std::filesystem::path& folder, std::errc expected) {
    try {
        return "found " + std::to_string(FolderScan::scan(folder).fileCount) + " files";
    } catch (const std::system_error& failure) {
        EXPECT_EQ(failure.code(), expected);
        return failure.what();
    }
}

TEST(FolderScanTest, FailsAndNamesTheFileWhenAttributesCannotBeRead) {
    const tests::Unprivileged person;
    const TestFolder folder;
    folder.write("a/file", "x");
    folder.write("b/file", "x");
    // Its names can be listed, but nothing more can be learned of them.
    const tests::ScopedMode listOnly(folder / "a", S_IRUSR);
    EXPECT_EQ(systemFailureOf(folder.path(), std::errc::permission_denied),
              (folder / "a/file").string() + ": Permission denied");
}

TEST(FolderScanTest, FailsLikewiseWhereAFolderThatMayNotBeEnteredHoldsOnlyFolders) {
    const tests::Unprivileged person;
    const TestFolder folder;
    folder.write("a/folder/file", "x");
    folder.write("b/file", "x");
    const tests::ScopedMode listOnly(folder / "a", S_IRUSR);
    EXPECT_EQ(systemFailureOf(folder.path(), std::errc::permission_denied),
              (folder / "a/folder").string() + ": Permission denied");
}

TEST(FolderScanTest, FailsAndNamesTheFolderItselfWhereItMayBeListedButNotEntered) {
    const tests::Unprivileged person;
    const TestFolder folder;
    folder.write("files/file", "x");
    folder.write("folders/folder/file", "x");
    for (const char* name : {"files", "folders"}) {
        const tests::ScopedMode listOnly(folder / name, S_IRUSR);
        EXPECT_EQ(systemFailureOf(folder / name, std::errc::permission_denied),
                  (folder / name).string() + ": Permission denied");
    }
}

TEST(FolderScanTest, FindsAllOrFailsWithHoweverFewDescriptors) {
    const TestFolder folder;
    folder.write("file", "x");
    folder.write("a/file", "x");
    folder.write("a/b/c/file", "x");
    rlimit before{};
    checked(::getrlimit(RLIMIT_NOFILE, &before), "getrlimit");
    const int next = UniqueFd(checked(::open("/dev/null", O_RDONLY | O_CLOEXEC), "open")).get();
    int failures = 0;
    for (int more = 0; more < 5; ++more) {
        rlimit few = before;
        few.rlim_cur = static_cast<rlim_t>(next + more);
        checked(::setrlimit(RLIMIT_NOFILE, &few), "setrlimit");
        std::int64_t found = 3;
        try {
            found = FolderScan::scan(folder.path()).fileCount;
        } catch (const std::system_error& failure) {
            EXPECT_EQ(failure.code(), std::errc::too_many_files_open);
            ++failures;
        } catch (const PlatformError&) {
            // The folder itself could not be opened.
        }
        checked(::setrlimit(RLIMIT_NOFILE, &before), "setrlimit");
        EXPECT_EQ(found, 3) << "with " << more << " descriptors";
    }
    EXPECT_GT(failures, 0);
}

TEST(FolderScanTest, RemembersTheSizeAndTheTimeOfEachFileAndTheFolder) {
    const TestFolder folder;
    folder.write("b/file", "12345");
    folder.write("a", "1");
    const std::array<timespec, 2> times{timespec{0, UTIME_OMIT}, timespec{-5, 0}};
    checked(::utimensat(AT_FDCWD, (folder / "a").c_str(), times.data(), 0), "utimensat");
    const FolderScan scan = FolderScan::scan(folder.path());
    ASSERT_EQ(scan.attributes.size(), 2U);
    EXPECT_EQ(scan.attributes[0], (FolderScan::Attributes{1, -5}));
    EXPECT_EQ(scan.attributes[1].size, 5);
    struct stat attributes {};
    checked(::stat(folder.path().c_str(), &attributes), "stat");
    EXPECT_EQ(scan.folder, std::pair(attributes.st_dev, attributes.st_ino));
}

TEST(FolderScanTest, EndsAtOnceWhenAStopWasRequestedBefore) {
    const TestFolder folder;
    folder.write("file", "x");
    std::stop_source stop;
    stop.request_stop();
    EXPECT_THROW(static_cast<void>(FolderScan::scan(folder.path(), stop.get_token())), Cancelled);
}

TEST(FolderScanTest, EndsEarlyWhenAStopIsRequestedWhileItReads) {
    const TestFolder folder;
    for (int i = 0; i < 20'000; ++i) {
        checked(::mkdir((folder / std::to_string(i)).c_str(), S_IRWXU), "mkdir");
    }
    bool cancelled = false;
    // Reading this many folders takes longer than waking a thread does. On a machine that is busy with other things
    // the scan may win, so it is given several chances.
    for (int round = 0; round < 20 && !cancelled; ++round) {
        const tests::FolderWatch opened(folder.path(), IN_OPEN);
        std::stop_source stop;
        std::thread stopper([&] {
            if (opened.waitForEvent(tests::deadline)) {
                stop.request_stop();
            }
        });
        try {
            static_cast<void>(FolderScan::scan(folder.path(), stop.get_token()));
        } catch (const Cancelled&) {
            cancelled = true;
        }
        stopper.join();
    }
    EXPECT_TRUE(cancelled);
}

TEST(FolderScanTest, LeavesNoDescriptorOpenHoweverItEnds) {
    const tests::Unprivileged person;
    const TestFolder good;
    const TestFolder bad;
    for (int i = 0; i < 200; ++i) {
        good.write(std::to_string(i) + "/file", "x");
        bad.write(std::to_string(i) + "/file", "x");
    }
    const tests::ScopedMode listOnly(bad / "100", S_IRUSR);
    std::stop_source stop;
    stop.request_stop();

    const auto openDescriptors = [] {
        int count = 0;
        for (int fd = 0; fd < 1024; ++fd) {
            count += ::fcntl(fd, F_GETFD) >= 0 ? 1 : 0;
        }
        return count;
    };
    const int before = openDescriptors();
    EXPECT_EQ(FolderScan::scan(good.path()).fileCount, 200);
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_THROW(static_cast<void>(FolderScan::scan(bad.path())), std::system_error);
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_THROW(static_cast<void>(FolderScan::scan(good.path(), stop.get_token())), Cancelled);
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_THROW(static_cast<void>(FolderScan::scan(good / "missing")), PlatformError);
    EXPECT_EQ(openDescriptors(), before);
}

TEST(FolderScanTest, NeverOpensAFile) {
    const TestFolder folder;
    folder.write("index.html", "x");
    folder.write("a/style.css", "x");
    folder.write(".hidden", "x");
    makeSpecialFile(folder, "pipe", S_IFIFO);
    tests::FolderWatch watch(folder.path(), IN_OPEN);
    watch.add(folder / "a");
    const auto isFile = [](const tests::FolderWatch::Event& event) {
        return (event.mask & IN_ISDIR) == 0;
    };

    static_cast<void>(FolderScan::scan(folder.path()));
    for (const auto& event : watch.events()) {
        EXPECT_FALSE(isFile(event)) << event.name << " was opened";
    }

    static_cast<void>(folder.read("a/style.css"));
    const auto events = watch.events();
    EXPECT_TRUE(std::any_of(events.begin(), events.end(), isFile)) << "the watch sees nothing";
}

/// Scans a folder somewhere in which `place` lies, while in it a folder is exchanged with a link that leads out of it,
/// until the exchange has fallen into many scans.
void scanWhileAFolderIsSwappedForALink(const std::filesystem::path& root, const std::filesystem::path& place) {
    const TestFolder outside;
    outside.write("secret", "secret");
    outside.write("deep/secret", "secret");
    outside.write("deep/er/secret", "secret");
    std::filesystem::create_directories(place / "one/deep/er");
    for (const char* file : {"one/file", "one/deep/file", "one/deep/er/file"}) {
        std::ofstream(place / file) << "x";
    }
    std::filesystem::create_symlink(outside.path(), place / "two");

    const tests::Swapper swapper(place / "one", place / "two");
    int entered = 0;
    int cut = 0;
    for (int round = 0; round < 200 || entered < 20 || cut < 20; ++round) {
        ASSERT_LT(round, 1'000'000) << "the swaps never fell into a scan";
        const FolderScan scan = FolderScan::scan(root);
        for (const std::string& path : scan.paths) {
            ASSERT_TRUE(path.ends_with("/file")) << path;
        }
        entered += scan.fileCount > 0 ? 1 : 0;
        cut += scan.fileCount < 3 ? 1 : 0;
    }
}

TEST(FolderScanTest, NeverLeavesTheFolderWhileASubfolderIsSwappedForALink) {
    const TestFolder folder;
    scanWhileAFolderIsSwappedForALink(folder.path(), folder.path());
}

TEST(FolderScanTest, NeverLeavesTheFolderWhileASubfolderDeeperThanAnyPathIsSwappedForALink) {
    const TestFolder folder;
    const tests::DeepTree tree(folder.path(), std::string(NAME_MAX, 'n'), 20);
    ASSERT_GT(tree.file().size(), std::size_t{PATH_MAX});
    scanWhileAFolderIsSwappedForALink(folder.path(), tree.innermost());
}

TEST(FolderScanTest, NeverLeavesTheFolderWhereTheKernelDoesNotHelp) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto child = [] {
        tests::forbidCall(SYS_openat2, ENOSYS);
        const TestFolder folder;
        scanWhileAFolderIsSwappedForALink(folder.path(), folder.path());
        std::exit(testing::Test::HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(child(), testing::ExitedWithCode(0), "");
}

TEST(UnreadableTest, NothingIsSaidOfNothing) {
    EXPECT_EQ(FolderScan::Unreadable().text(), QString());
}

TEST(UnreadableTest, FoldersAreNamedAndTheRestIsCounted) {
    EXPECT_EQ((FolderScan::Unreadable{1, {"a/b"}}).text(),
              QStringLiteral("1 folder could not be read and is left out: a/b"));
    EXPECT_EQ((FolderScan::Unreadable{2, {"a", "b"}}).text(),
              QStringLiteral("2 folders could not be read and are left out: a, b"));
    EXPECT_EQ((FolderScan::Unreadable{22, {"a", "b"}}).text(),
              QStringLiteral("22 folders could not be read and are left out: a, b, and 20 more"));
}

} // namespace
} // namespace driftwell
