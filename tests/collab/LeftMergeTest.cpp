#include "collab/LeftMerge.h"

#include "collab/UnderWay.h"
#include "tests/collab/CollabFixture.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::IsEmpty;
using UnderWay::Work;

/// A folder in which git was killed while it wrote files of a merge.
class LeftMergeTest : public CollabFixture {
protected:
    LeftMergeTest() {
        m_platform.addSite("site", "for name in a b c d e index; do seq 9 > $name.html; done && ln -s a.html link");
        m_folder = linkedFolder("folder");
        m_platform.push("site", "for name in a b c d; do echo theirs >> $name.html; done && rm e.html && echo new > "
                                "new.html && echo new > other.html && ln -sf b.html link");
        inFolder("git fetch --quiet '" + m_platform.repository("site").string() +
                 "' main && git update-ref ORIG_HEAD HEAD && touch .git/driftwell-merging");
    }

    std::string inFolder(const std::string& script) const { return asTeammate(m_folder, script); }
    std::optional<QString> takeBack() const { return await(takeBackLeftMerge(LinkedFolder(m_folder, {}))); }

    std::filesystem::path m_folder;
};

TEST_F(LeftMergeTest, WhatGitHasWrittenOrRemovedIsTakenBack) {
    inFolder("git show FETCH_HEAD:a.html > a.html && git show FETCH_HEAD:b.html | head -c 19 > b.html && : > c.html && "
             "rm d.html e.html && echo new > new.html && printf ne > other.html && ln -sf b.html link && git add -A");
    EXPECT_EQ(takeBack(), std::nullopt);
    EXPECT_EQ(inFolder("git status --porcelain"), "");
    EXPECT_FALSE(UnderWay::isNoted(m_folder, Work::Merging));
}

TEST_F(LeftMergeTest, WhatWasDoneSinceStays) {
    inFolder("echo mine > a.html && (seq 9; echo mine) > b.html && echo mine > new.html && echo mine > mine.html && ln "
             "-sf c.html link && rm d.html && mkdir d.html && echo mine > d.html/deep.html");
    EXPECT_EQ(takeBack(), std::nullopt);
    EXPECT_EQ(inFolder("cat a.html new.html mine.html d.html/deep.html && tail -1 b.html && readlink link"),
              "mine\nmine\nmine\nmine\nmine\nc.html\n");
}

TEST_F(LeftMergeTest, AFileWithTheMarkersOfTheMergeIsTakenBack) {
    inFolder(
        "sed -i 's/9/mine/' a.html && git commit --quiet -a -m mine && git update-ref ORIG_HEAD HEAD && { git merge "
        "--quiet FETCH_HEAD || true; } && rm .git/MERGE_HEAD && grep -q '^<<<<<<<' a.html");
    EXPECT_EQ(takeBack(), std::nullopt);
    EXPECT_EQ(inFolder("git status --porcelain && tail -1 a.html"), "mine\n");
}

TEST_F(LeftMergeTest, AHalfWrittenNoteOfGitsIsRemoved) {
    inFolder("printf 1234 > .git/MERGE_HEAD && : > c.html");
    EXPECT_EQ(takeBack(), std::nullopt);
    EXPECT_EQ(inFolder("git status --porcelain"), "");
    EXPECT_FALSE(std::filesystem::exists(m_folder / ".git/MERGE_HEAD"));
}

TEST_F(LeftMergeTest, AMergeThatGitHasNotedIsLeftAsItIs) {
    inFolder("git rev-parse FETCH_HEAD > .git/MERGE_HEAD && : > c.html");
    EXPECT_EQ(takeBack(), std::nullopt);
    EXPECT_EQ(inFolder("git status --porcelain"), " M c.html\n");
    EXPECT_FALSE(UnderWay::isNoted(m_folder, Work::Merging));
}

TEST_F(LeftMergeTest, WhereTheHistoryHasMovedOnNothingIsTakenBack) {
    inFolder("git commit --quiet --allow-empty -m later && : > c.html");
    EXPECT_EQ(takeBack(), std::nullopt);
    EXPECT_EQ(inFolder("git status --porcelain"), " M c.html\n");
}

TEST_F(LeftMergeTest, WhereNoMergeWasUnderWayNothingIsTakenBack) {
    inFolder("rm .git/driftwell-merging && : > c.html");
    EXPECT_EQ(takeBack(), std::nullopt);
    EXPECT_EQ(inFolder("git status --porcelain"), " M c.html\n");
}

TEST_F(LeftMergeTest, WhatCannotBeTakenBackNowIsLater) {
    inFolder(": > c.html");
    {
        const RefusingGit refusing("merge-tree");
        EXPECT_EQ(takeBack(), QString::fromUtf8(RefusingGit::words));
        const auto outcome = await(CollabEngine::deploy(m_folder, access(), identity(), {}));
        EXPECT_EQ(outcome, CollabEngine::SyncOutcome::failed(QString::fromUtf8(RefusingGit::words)));
    }
    EXPECT_EQ(await(CollabEngine::deploy(m_folder, access(), identity(), {})), CollabEngine::SyncOutcome::published());
    EXPECT_EQ(m_platform.file("site", "c.html"), "1\n2\n3\n4\n5\n6\n7\n8\n9\ntheirs\n");
}

TEST_F(LeftMergeTest, AFileThatIsHalfTakenIsUnresolvedUntilItIsSomethingElse) {
    m_folder = conflictedFolder("conflicted");
    const QStringList file{QStringLiteral("index.html")};
    const auto unresolved = [this] {
        return await(CollabEngine::unresolvedFiles(m_folder, {}));
    };
    inFolder("git checkout --quiet --ours index.html && head -c 2 index.html > half && mv half index.html");
    EXPECT_THAT(unresolved(), IsEmpty());
    ASSERT_EQ(UnderWay::begin(m_folder, Work::TakingOurs), std::nullopt);
    EXPECT_EQ(unresolved(), file);
    inFolder("echo mine > index.html");
    EXPECT_THAT(unresolved(), IsEmpty());
    inFolder("echo both > index.html");
    EXPECT_THAT(unresolved(), IsEmpty());
    UnderWay::end(m_folder, Work::TakingOurs);
    inFolder("printf the > index.html");
    ASSERT_EQ(UnderWay::begin(m_folder, Work::TakingTheirs), std::nullopt);
    EXPECT_EQ(unresolved(), file);
}

} // namespace
} // namespace driftwell::tests
