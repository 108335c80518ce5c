#include "tooling/MarkedOutput.h"

#include <gtest/gtest.h>

namespace driftwell {
namespace {

std::optional<std::string> valueOf(const std::string& output, std::size_t pieceLength = 100) {
    MarkedOutput marked;
    for (std::size_t start = 0; start < output.size(); start += pieceLength) {
        marked.append(std::string_view(output).substr(start, pieceLength));
    }
    return marked.value();
}

TEST(MarkedOutputTest, FindsWhatStandsBetweenTheMarkers) {
    EXPECT_EQ(valueOf("__DW__/usr/bin:/bin\n__DW__"), "/usr/bin:/bin\n");
}

TEST(MarkedOutputTest, LeavesOutWhatComesBeforeAndAfter) {
    EXPECT_EQ(valueOf("Welcome!\n__DW__/bin__DW__Bye.\n"), "/bin");
}

TEST(MarkedOutputTest, OnlyTheFirstTwoMarkersCount) {
    EXPECT_EQ(valueOf("__DW__/bin__DW__/usr/bin__DW__"), "/bin");
}

TEST(MarkedOutputTest, NothingMayStandBetweenThem) {
    EXPECT_EQ(valueOf("__DW____DW__"), "");
}

TEST(MarkedOutputTest, BothMarkersAreNeeded) {
    EXPECT_EQ(valueOf(""), std::nullopt);
    EXPECT_EQ(valueOf("/usr/bin"), std::nullopt);
    EXPECT_EQ(valueOf("__DW__/usr/bin"), std::nullopt);
    EXPECT_EQ(valueOf("__DW__/usr/bin__DW_"), std::nullopt);
}

TEST(MarkedOutputTest, ItDoesNotMatterHowTheOutputComes) {
    const std::string output = "_ __ __D __DW_ Grüße\n__DW__/home/jürgen/bin:/bin__DW__ tschüß";
    for (std::size_t pieceLength = 1; pieceLength <= output.size(); ++pieceLength) {
        EXPECT_EQ(valueOf(output, pieceLength), "/home/jürgen/bin:/bin") << pieceLength;
    }
}

TEST(MarkedOutputTest, OutputThatIsNotUtf8IsNothing) {
    EXPECT_EQ(valueOf("\xff__DW__/bin__DW__"), std::nullopt);
    EXPECT_EQ(valueOf("__DW__/b\xc3in__DW__"), std::nullopt);
    EXPECT_EQ(valueOf("__DW__/bin__DW__\xe2\x82"), std::nullopt) << "half a character at the end";
}

TEST(MarkedOutputTest, ABannerMayBeLong) {
    EXPECT_EQ(valueOf(std::string(10 * 1024 * 1024, '.') + "__DW__/bin__DW__", 64 * 1024), "/bin");
}

TEST(MarkedOutputTest, AnEndlessValueIsNone) {
    EXPECT_EQ(valueOf("__DW__" + std::string(MarkedOutput::longest, 'x') + "__DW__", 64 * 1024)->size(),
              MarkedOutput::longest);
    EXPECT_EQ(valueOf("__DW__" + std::string(MarkedOutput::longest + 1, 'x') + "__DW__", 64 * 1024), std::nullopt);
    EXPECT_EQ(valueOf("__DW__" + std::string(3 * MarkedOutput::longest, 'x') + "__DW__", 64 * 1024), std::nullopt);
}

} // namespace
} // namespace driftwell
