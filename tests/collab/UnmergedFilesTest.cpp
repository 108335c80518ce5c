#include "collab/UnmergedFiles.h"

#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <fstream>

namespace driftwell::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using namespace std::string_literals;

TEST(ParseUnmerged, StagesOfOnePathAreCollected) {
    EXPECT_THAT(parseUnmerged("100644 a 1\tx\0"s + "100644 b 2\tx\0"s + "100644 c 3\tx\0"s + "100644 d 2\ty\0"s),
                ElementsAre(Pair("x", ElementsAre("1", "2", "3")), Pair("y", ElementsAre("2"))));
}

TEST(ParseUnmerged, APathKeepsItsBlanksAndTabs) {
    EXPECT_THAT(parseUnmerged("100644 a 1\ta\tb c\n\0"s), ElementsAre(Pair("a\tb c\n", ElementsAre("1"))));
}

TEST(ParseUnmerged, AnEntryThatIsNotUnderstoodIsSkipped) {
    EXPECT_THAT(parseUnmerged("no tab\0\0\tno stage\0"s + "100644 a 1\t\0"s), IsEmpty());
    EXPECT_THAT(parseUnmerged(""), IsEmpty());
}

TEST(ParseUnmerged, AMissingStageIsAQuestionMark) {
    EXPECT_THAT(parseUnmerged("100644 a\tx\0"s), ElementsAre(Pair("x", ElementsAre("?"))));
    EXPECT_THAT(parseUnmerged("100644  a  1\tx\0"s), ElementsAre(Pair("x", ElementsAre("1"))));
}

TEST(ConflictMarkers, AreSevenSignsAtTheBeginningOfALine) {
    for (const std::string marked : {"<<<<<<< HEAD", "<<<<<<<", "a\n<<<<<<<\nb", "=======", "a\n=======\n",
                                     "a\n=======", ">>>>>>> x", "a\r\n=======\r\nb", "a\n<<<<<<<\r\n"}) {
        EXPECT_TRUE(hasConflictMarkers(marked)) << marked;
    }
    for (const std::string clean : {"", "a", "========", "======", "======= ", " =======", "<<<<<<<a", "<<<<<<<< a",
                                    ">>>>>>>", ">>>>>>>a", "a <<<<<<< b", "||||||| x"}) {
        EXPECT_FALSE(hasConflictMarkers(clean)) << clean;
    }
}

class UnresolvedAmong : public testing::Test {
protected:
    bool isUnresolved(const std::string& path, std::set<std::string> stages = {"1", "2", "3"}) const {
        return !unresolvedAmong(m_folder.path(), {{path, std::move(stages)}}).empty();
    }
    bool isUnresolvedWith(const std::string& content) const {
        m_folder.write("file", content);
        return isUnresolved("file");
    }

    TestFolder m_folder;
};

TEST_F(UnresolvedAmong, ACleanTextOfAllStagesIsResolved) {
    EXPECT_FALSE(isUnresolvedWith("clean\n"));
    EXPECT_FALSE(isUnresolvedWith(""));
    EXPECT_FALSE(isUnresolvedWith("é\n"));
}

TEST_F(UnresolvedAmong, AMarkerMakesItUnresolved) {
    EXPECT_TRUE(isUnresolvedWith("a\n=======\nb\n"));
}

TEST_F(UnresolvedAmong, AFileOfFewerStagesIsUnresolvedWhateverItHolds) {
    m_folder.write("file", "clean\n");
    EXPECT_TRUE(isUnresolved("file", {"2", "3"}));
    EXPECT_TRUE(isUnresolved("file", {"1", "2"}));
    EXPECT_TRUE(isUnresolved("file", {"1", "3"}));
    EXPECT_TRUE(isUnresolved("file", {"?"}));
}

TEST_F(UnresolvedAmong, AFileThatCannotBeReadIsUnresolved) {
    EXPECT_TRUE(isUnresolved("missing"));
    std::filesystem::create_directory(m_folder / "directory");
    EXPECT_TRUE(isUnresolved("directory"));
    ASSERT_EQ(::mkfifo((m_folder / "pipe").c_str(), 0600), 0);
    EXPECT_TRUE(isUnresolved("pipe"));
    m_folder.write("file", "clean\n");
    std::filesystem::create_symlink("file", m_folder / "link");
    EXPECT_TRUE(isUnresolved("link"));
}

TEST_F(UnresolvedAmong, ABinaryFileIsUnresolved) {
    EXPECT_TRUE(isUnresolvedWith("a\0b"s));
    EXPECT_TRUE(isUnresolvedWith(std::string(8191, 'a') + "\0"s));
}

TEST_F(UnresolvedAmong, AZeroByteFurtherOnIsText) {
    EXPECT_FALSE(isUnresolvedWith(std::string(8192, 'a') + "\0"s));
    EXPECT_TRUE(isUnresolvedWith(std::string(8192, 'a') + "\0\n=======\n"s));
}

TEST_F(UnresolvedAmong, ATextThatIsNotUtf8IsUnresolved) {
    EXPECT_TRUE(isUnresolvedWith("a\xFF"));
    EXPECT_TRUE(isUnresolvedWith(std::string(100000, 'a') + "\xC3"));
}

/// The most memory that this process had since the last call, in bytes (proc(5)).
std::size_t peakMemory() {
    std::ifstream status("/proc/self/status");
    std::size_t kilobytes = 0;
    for (std::string word; status >> word;) {
        if (word == "VmHWM:") {
            status >> kilobytes;
        }
    }
    std::ofstream("/proc/self/clear_refs") << "5";
    return kilobytes * 1024;
}

TEST_F(UnresolvedAmong, ALargeTextIsNotHeldTwice) {
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "what the sanitizer notes of memory is several times as large as the memory";
#endif
    constexpr std::size_t size = std::size_t{64} * 1024 * 1024;
    {
        std::ofstream file(m_folder / "file");
        for (std::size_t written = 0; written < size; written += 64) {
            file << std::string(63, 'a') << '\n';
        }
    }
    peakMemory();
    const std::size_t before = peakMemory();
    EXPECT_FALSE(isUnresolved("file"));
    EXPECT_LT(peakMemory() - before, size * 2);
}

TEST_F(UnresolvedAmong, ThePathsAreSorted) {
    EXPECT_THAT(unresolvedAmong(m_folder.path(), {{"b", {"2"}}, {"a", {"2"}}, {"B", {"2"}}}),
                ElementsAre("B", "a", "b"));
}

} // namespace
} // namespace driftwell::tests
