#include "collab/PublishPreview.h"

#include "tests/collab/CollabFixture.h"

#include <gmock/gmock.h>

namespace driftwell::tests {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class PublishPreviewTest : public CollabFixture {
protected:
    PublishPreviewTest() { m_platform.addSite("site", "echo base > index.html; echo base > other.html"); }

    [[nodiscard]] PublishPreview preview(const std::filesystem::path& folder) const {
        return await(PublishPreview::of(folder, access(), identity(), {}));
    }
};

QStringList list(const std::vector<const char*>& paths) {
    QStringList result;
    for (const char* path : paths) {
        result.append(QString::fromUtf8(path));
    }
    return result;
}

} // namespace

TEST_F(PublishPreviewTest, ofAFolderThatIsAsOnThePlatformIsEmpty) {
    const PublishPreview nothing = preview(linkedFolder("folder"));
    EXPECT_EQ(nothing.failure, std::nullopt);
    EXPECT_THAT(nothing.ownChanges, IsEmpty());
    EXPECT_THAT(nothing.platformChanges, IsEmpty());
    EXPECT_THAT(nothing.conflicts, IsEmpty());
}

TEST_F(PublishPreviewTest, namesWhatBothSidesHaveChangedAndWhatCannotBeJoined) {
    const auto folder = linkedFolder("folder");
    m_platform.push("site", "echo theirs > index.html; echo new > 'their new.html'; git rm --quiet other.html");
    asTeammate(folder, "echo mine > index.html; echo more >> other.html; echo new > übung.html");
    const PublishPreview found = preview(folder);
    EXPECT_EQ(found.failure, std::nullopt);
    EXPECT_EQ(found.ownChanges, list({"index.html", "other.html", "übung.html"}));
    EXPECT_EQ(found.platformChanges, list({"index.html", "other.html", "their new.html"}));
    EXPECT_EQ(found.conflicts, list({"index.html", "other.html"}));
}

TEST_F(PublishPreviewTest, ofChangesInDifferentPlacesHasNoConflict) {
    const auto folder = linkedFolder("folder");
    m_platform.push("site", "echo theirs > other.html");
    asTeammate(folder, "echo mine > index.html");
    const PublishPreview found = preview(folder);
    EXPECT_EQ(found.ownChanges, list({"index.html"}));
    EXPECT_EQ(found.platformChanges, list({"other.html"}));
    EXPECT_THAT(found.conflicts, IsEmpty());
}

TEST_F(PublishPreviewTest, countsWhatIsCommittedAndNotPublished) {
    const auto folder = linkedFolder("folder");
    asTeammate(folder, "echo mine > index.html; git commit --quiet -a -m mine; echo too > late.html");
    EXPECT_EQ(preview(folder).ownChanges, list({"index.html", "late.html"}));
}

TEST_F(PublishPreviewTest, leavesTheFolderItsIndexAndItsBranchAsTheyAre) {
    const auto folder = linkedFolder("folder");
    m_platform.push("site", "echo theirs > index.html");
    asTeammate(folder, "echo mine > index.html; echo staged > staged.html; git add staged.html; echo new > new.html");
    const std::string look = "git status --porcelain; git rev-parse HEAD; git ls-files --stage; cat *.html; ls -a .git";
    asTeammate(folder, "git fetch --quiet '" + (m_platform.repository("site")).string() + "' main");
    const std::string before = asTeammate(folder, look);
    EXPECT_EQ(preview(folder).conflicts, list({"index.html"}));
    EXPECT_EQ(asTeammate(folder, look), before);
}

TEST_F(PublishPreviewTest, isWhatPublishingThenMeets) {
    const auto folder = linkedFolder("folder");
    m_platform.push("site", "git mv index.html theirs.html; echo a > both.html");
    asTeammate(folder, "mv index.html mine.html; echo b > both.html");
    const PublishPreview found = preview(folder);
    ASSERT_EQ(await(CollabEngine::deploy(folder, access(), identity(), {})), CollabEngine::SyncOutcome::conflict());
    EXPECT_EQ(found.conflicts, await(CollabEngine::unresolvedFiles(folder, {})));
    EXPECT_THAT(found.conflicts, testing::Contains(QStringLiteral("both.html")));
}

TEST_F(PublishPreviewTest, saysInGitsWordsWhyItCannotBeFoundOut) {
    const auto folder = linkedFolder("folder");
    std::filesystem::remove_all(m_platform.repository("site"));
    const PublishPreview found = preview(folder);
    ASSERT_TRUE(found.failure);
    EXPECT_THAT(found.failure->toStdString(), HasSubstr("fatal: "));
    EXPECT_THAT(found.ownChanges, IsEmpty());
}

TEST_F(PublishPreviewTest, runsNothingInAFolderWithForeignSettings) {
    const auto folder = linkedFolder("folder");
    asTeammate(folder, "git config core.sshCommand 'touch ran'; git config filter.x.clean 'touch ran'");
    const PublishPreview found = preview(folder);
    ASSERT_TRUE(found.failure);
    EXPECT_THAT(found.failure->toStdString(), HasSubstr("core.sshcommand"));
}

TEST(MergeTreeOutput, hasTheTreeFirstAndThenTheFiles) {
    using namespace std::string_view_literals;
    EXPECT_THAT(parseMergeTree(""), IsEmpty());
    EXPECT_THAT(parseMergeTree("abc\0"sv), IsEmpty());
    EXPECT_THAT(parseMergeTree("abc\0a b\0c\nd\0"sv), ElementsAre("a b", "c\nd"));
}

} // namespace driftwell::tests
