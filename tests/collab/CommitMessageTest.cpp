#include "collab/CommitMessage.h"

#include <gtest/gtest.h>

namespace driftwell::tests {
namespace {

TEST(CommitMessage, OneFileIsNamed) {
    EXPECT_EQ(commitMessage("M  index.html"), "Update index.html");
}

TEST(CommitMessage, FurtherFilesAreCounted) {
    EXPECT_EQ(commitMessage("M  index.html\nA  a.css\nD  b.css"), "Update index.html (+2 more)");
    EXPECT_EQ(commitMessage("M  index.html\n\nA  a.css\n"), "Update index.html (+1 more)");
}

TEST(CommitMessage, ARenameCountsUnderItsNewName) {
    EXPECT_EQ(commitMessage("R  a.html -> b.html"), "Update b.html");
}

TEST(CommitMessage, WithoutLinesItIsTheSite) {
    EXPECT_EQ(commitMessage(""), "Update site");
    EXPECT_EQ(commitMessage("\n\n"), "Update site");
}

TEST(CommitMessage, AQuotedPathKeepsItsQuotes) {
    EXPECT_EQ(commitMessage("A  \"a\\tb\""), "Update \"a\\tb\"");
}

TEST(CommitMessage, AShortLineIsEmptyAndBlanksAroundAPathAreDropped) {
    EXPECT_EQ(commitMessage("M"), "Update ");
    EXPECT_EQ(commitMessage("M   \tx y \t"), "Update x y");
}

} // namespace
} // namespace driftwell::tests
