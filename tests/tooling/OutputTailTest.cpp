#include "tooling/OutputTail.h"

#include <gtest/gtest.h>

namespace driftwell {
namespace {

QString lastLineOf(std::string_view output) {
    OutputTail tail;
    tail.append(output);
    return tail.lastLine();
}

TEST(OutputTailTest, TheLastLineTellsWhatWentWrong) {
    EXPECT_EQ(lastLineOf("listening\nport taken\n"), "port taken");
}

TEST(OutputTailTest, WithoutOutputItSaysSo) {
    EXPECT_EQ(lastLineOf(""), "no output");
    EXPECT_EQ(lastLineOf("\n \t\n\n"), "no output");
}

TEST(OutputTailTest, StackFramesDoNotCount) {
    EXPECT_EQ(lastLineOf("it broke\n    at start (index.ts:3)\n\tat main\n"), "it broke");
    EXPECT_EQ(lastLineOf("    at start (index.ts:3)\n  at main"), "no output");
    EXPECT_EQ(lastLineOf("attempt 1"), "attempt 1");
}

TEST(OutputTailTest, ALineWithAnErrorComesBeforeAllNoise) {
    std::string output = "Error: EADDRINUSE\n";
    for (int line = 0; line < 10; ++line) {
        output += "noise\n";
    }
    EXPECT_EQ(lastLineOf(output), "Error: EADDRINUSE");
}

TEST(OutputTailTest, TheLastOfSeveralErrorsCounts) {
    EXPECT_EQ(lastLineOf("error 1\nERROR 2\nnoise"), "ERROR 2");
    EXPECT_EQ(lastLineOf("TypeError: x\n    at errorHandler (a.ts)\nbye"), "TypeError: x");
}

TEST(OutputTailTest, BlanksAndTabsAroundALineGo) {
    EXPECT_EQ(lastLineOf(" \t it broke \t\n"), "it broke");
}

TEST(OutputTailTest, KeepsTheLastFourThousandCharacters) {
    OutputTail tail;
    tail.append(std::string(5000, 'a'));
    tail.append(std::string(3000, 'b'));
    EXPECT_EQ(tail.text(), QString(1000, u'a') + QString(3000, u'b'));
}

TEST(OutputTailTest, NoCharacterIsCutInHalf) {
    OutputTail tail;
    tail.append("🌱" + std::string(3999, 'a'));
    EXPECT_EQ(tail.text(), QString(3999, u'a'));
}

TEST(OutputTailTest, APieceThatIsNotUtf8IsDroppedWhole) {
    OutputTail tail;
    tail.append("one\n");
    tail.append("two\n\xff");
    tail.append("three\n");
    EXPECT_EQ(tail.text(), "one\nthree\n");
}

TEST(OutputTailTest, NothingIsLeftAfterClearing) {
    OutputTail tail;
    tail.append("one");
    tail.clear();
    EXPECT_EQ(tail.lastLine(), "no output");
}

TEST(WholeOutputTest, IsWhatCameInPieces) {
    WholeOutput output;
    output.append("gr\xc3");
    output.append("\xbcn");
    EXPECT_EQ(output.end(), QStringLiteral("grün"));
}

TEST(WholeOutputTest, KeepsTheEndOfMuch) {
    WholeOutput output;
    for (int piece = 0; piece < 1000; ++piece) {
        output.append(std::string(10'000, 'a'));
    }
    output.append("b");
    EXPECT_EQ(output.end(), QString(3999, u'a') + "b");
}

TEST(WholeOutputTest, IsNothingWhenAPartOfItIsNotUtf8) {
    WholeOutput broken;
    broken.append("\xff");
    broken.append("built");
    EXPECT_EQ(broken.end(), "");
    WholeOutput cut;
    cut.append("built\xe2\x82");
    EXPECT_EQ(cut.end(), "");
}

} // namespace
} // namespace driftwell
