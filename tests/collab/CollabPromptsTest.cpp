#include "collab/CollabPrompts.h"

#include "tests/ScopedVariable.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class CollabPromptsTest : public testing::Test {
protected:
    static std::string conflict(const QStringList& files, const std::optional<QString>& counterpart = std::nullopt) {
        return CollabPrompts::conflict("/home/ada/site", files, counterpart).toStdString();
    }

    ScopedVariable m_home{"HOME", QByteArray("/home/ada")};
};

TEST_F(CollabPromptsTest, AConflictIsPutToTheLetter) {
    EXPECT_EQ(conflict({"index.html"}, QStringLiteral("Grace")),
              "The folder `~/site` has two versions of some files merged together. In `index.html`, look for blocks "
              "marked `<<<<<<<` … `=======` … `>>>>>>>`. The part above `=======` is my edit; below it is Grace’s. "
              "Combine them so both changes are kept where possible, remove all the marker lines, and make sure each "
              "file is still valid. Don’t run any git commands — just fix the files. Publishing happens automatically "
              "once they’re fixed.");
}

TEST_F(CollabPromptsTest, ANeedForAttentionIsPutToTheLetter) {
    EXPECT_EQ(
        CollabPrompts::needsAttention("/home/ada/site", "the folder is not on a branch (detached state)"),
        "The folder `~/site` is a project folder managed by the Driftwell app. It should have exactly one branch, "
        "`main`, checked out, tracking the `driftwell` remote — but right now the folder is not on a branch "
        "(detached state). Using git, carefully put it back on `main` with all recent work preserved (merge or "
        "cherry-pick if needed), don’t push anything, and leave no other branch checked out. The Driftwell app "
        "will take it from there.");
}

TEST_F(CollabPromptsTest, TwoFilesAreJoinedByAnd) {
    EXPECT_THAT(conflict({"a", "b"}), HasSubstr("In `a` and `b`, look for"));
}

TEST_F(CollabPromptsTest, ThreeFilesHaveASerialComma) {
    EXPECT_THAT(conflict({"a", "b c", "d"}), HasSubstr("In `a`, `b c`, and `d`, look for"));
    EXPECT_THAT(conflict({"a", "b", "c", "d"}), HasSubstr("In `a`, `b`, `c`, and `d`, look for"));
}

TEST_F(CollabPromptsTest, WithoutFilesItSaysTheFilesItLists) {
    EXPECT_THAT(conflict({}), HasSubstr("In the files it lists, look for"));
}

TEST_F(CollabPromptsTest, WithoutACounterpartItIsATeammate) {
    EXPECT_THAT(conflict({"a"}), HasSubstr("below it is a teammate’s. Combine"));
}

TEST_F(CollabPromptsTest, ANameThatEndsInSTakesTheSameEnding) {
    EXPECT_THAT(conflict({"a"}, QStringLiteral("James")), HasSubstr("below it is James’s. Combine"));
}

TEST_F(CollabPromptsTest, AFolderOutsideTheHomeKeepsItsPath) {
    const auto beginning = [](const char* folder) {
        return CollabPrompts::conflict(folder, {}, std::nullopt).toStdString();
    };
    EXPECT_THAT(beginning("/srv/site"), StartsWith("The folder `/srv/site` has"));
    EXPECT_THAT(beginning("/home/adam/site"), StartsWith("The folder `/home/adam/site` has"));
    EXPECT_THAT(beginning("/home/ada"), StartsWith("The folder `~` has"));
}

TEST_F(CollabPromptsTest, AHomeWithASlashAtItsEndIsAbbreviated) {
    const ScopedVariable home("HOME", QByteArray("/home/ada/"));
    EXPECT_THAT(conflict({}), StartsWith("The folder `~/site` has"));
}

TEST_F(CollabPromptsTest, TheRootAsHomeIsNotAbbreviated) {
    const ScopedVariable home("HOME", QByteArray("/"));
    EXPECT_THAT(conflict({}), StartsWith("The folder `/home/ada/site` has"));
}

} // namespace
} // namespace driftwell::tests
