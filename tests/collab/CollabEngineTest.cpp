#include "support/Cancellation.h"
#include "tests/collab/CollabFixture.h"

#include <gmock/gmock.h>

#include <atomic>

namespace driftwell::tests {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using Outcome = CollabEngine::SyncOutcome;
using Side = CollabEngine::Side;

class CollabEngineTest : public CollabFixture {
protected:
    CollabEngineTest() { m_platform.addSite("site", "echo base > index.html && echo other > other.html"); }

    Outcome deploy() const { return await(CollabEngine::deploy(m_folder, access(), identity(), {})); }
    Outcome update() const { return await(CollabEngine::update(m_folder, access(), identity(), {})); }
    Outcome taking(Side side) const {
        return await(CollabEngine::resolveTaking(side, m_folder, access(), identity(), {}));
    }
    std::optional<QString> link() const {
        return await(CollabEngine::link(QStringLiteral("site"), m_folder, access(), {}));
    }
    std::optional<QString> clone(const std::filesystem::path& destination) const {
        return await(CollabEngine::clone(QStringLiteral("site"), destination, access(), {}));
    }
    std::optional<QString> counterpart() const { return await(CollabEngine::mergeCounterpart(m_folder, {})); }
    std::optional<CollabState> state() const {
        return await(CollabEngine::siteState(site(m_platform.head("site")), m_folder, config(), {}));
    }
    std::string inFolder(const std::string& script) const { return asTeammate(m_folder, script); }
    std::string onPlatform(const std::string& script) const {
        return asTeammate(m_platform.repository("site"), script);
    }
    /// Has the platform refuse each push with these words.
    void refusePushes(const std::string& words) const {
        const auto hook = m_platform.repository("site") / "hooks/pre-receive";
        onPlatform("printf '#!/bin/sh\\necho " + words + " >&2\\nexit 1\\n' > hooks/pre-receive && chmod +x " +
                   hook.string());
    }

    std::filesystem::path m_folder;
};

TEST_F(CollabEngineTest, AChangeIsCommittedInThePersonsNameAndPushed) {
    m_folder = linkedFolder("folder");
    inFolder("echo mine > index.html");
    EXPECT_EQ(deploy(), Outcome::published());
    EXPECT_EQ(m_platform.file("site", "index.html"), "mine\n");
    EXPECT_EQ(onPlatform("git log -1 --format='%an|%ae|%cn|%s' main"),
              "Ada L. \"Quote\" O’Neil|ada@example.org|Ada L. \"Quote\" O’Neil|Update index.html\n");
    EXPECT_EQ(state(), CollabState::upToDate());
}

TEST_F(CollabEngineTest, TheCommitNamesWhatChanged) {
    m_folder = linkedFolder("folder");
    inFolder("echo x > index.html && echo y > other.html && echo z > new.html");
    EXPECT_EQ(deploy(), Outcome::published());
    EXPECT_EQ(onPlatform("git log -1 --format=%s main"), "Update index.html (+2 more)\n");
    inFolder("mv new.html renamed.html");
    EXPECT_EQ(deploy(), Outcome::published());
    EXPECT_EQ(onPlatform("git log -1 --format=%s main"), "Update renamed.html\n");
    inFolder("echo x > café.html");
    EXPECT_EQ(deploy(), Outcome::published());
    EXPECT_EQ(onPlatform("git log -1 --format=%s main"), "Update café.html\n");
}

TEST_F(CollabEngineTest, AFileWhoseNameIsNotTextIsPublished) {
    m_folder = linkedFolder("folder");
    inFolder("echo x > \"$(printf 'a\\377')\"");
    EXPECT_EQ(deploy(), Outcome::published());
    EXPECT_THAT(onPlatform("git ls-tree --name-only -z main"), HasSubstr("a\377"));
}

TEST_F(CollabEngineTest, AnUnchangedFolderIsPublishedAndLeavesThePlatformAsItWas) {
    m_folder = linkedFolder("folder");
    const std::string before = m_platform.head("site");
    EXPECT_EQ(deploy(), Outcome::published());
    EXPECT_EQ(m_platform.head("site"), before);
}

TEST_F(CollabEngineTest, AnUnchangedFolderCostsTwoRequests) {
    m_folder = linkedFolder("folder");
    const std::size_t before = m_platform.requests().size();
    EXPECT_EQ(deploy(), Outcome::published());
    EXPECT_EQ(m_platform.requests().size() - before, 2U);
}

TEST_F(CollabEngineTest, WhatIgnoreFilesNameIsNotCommitted) {
    m_folder = linkedFolder("folder");
    inFolder("echo secret > secret && echo secret > .gitignore");
    EXPECT_EQ(deploy(), Outcome::published());
    EXPECT_THAT(onPlatform("git ls-tree --name-only main"), Not(HasSubstr("\nsecret\n")));
}

TEST_F(CollabEngineTest, TheWorkOfOthersIsMerged) {
    m_folder = linkedFolder("folder");
    m_platform.push("site", "echo theirs > other.html");
    inFolder("echo mine > index.html");
    EXPECT_EQ(deploy(), Outcome::published());
    EXPECT_EQ(m_platform.file("site", "index.html"), "mine\n");
    EXPECT_EQ(m_platform.file("site", "other.html"), "theirs\n");
    EXPECT_EQ(inFolder("cat other.html"), "theirs\n");
    EXPECT_EQ(onPlatform("git log -1 --format=%an main"), "Ada L. \"Quote\" O’Neil\n");
    EXPECT_THAT(onPlatform("git log -1 --format=%s main"), StartsWith("Merge branch 'main' of http://127.0.0.1:"));
}

TEST_F(CollabEngineTest, AMergeThatGitCannotFinishIsAConflict) {
    m_folder = linkedFolder("folder");
    m_platform.push("site", "echo theirs > index.html");
    inFolder("echo mine > index.html");
    EXPECT_EQ(deploy(), Outcome::conflict());
    EXPECT_EQ(m_platform.file("site", "index.html"), "theirs\n");
    EXPECT_THAT(inFolder("cat index.html"), HasSubstr("mine\n=======\ntheirs\n"));
    EXPECT_EQ(state(), CollabState::conflict({QStringLiteral("index.html")}));
}

TEST_F(CollabEngineTest, AMergeThatIsNotRepairedStaysAConflictWithoutNetwork) {
    m_folder = conflictedFolder("folder");
    const std::size_t before = m_platform.requests().size();
    const std::string files = inFolder("cat index.html && git status --porcelain && git rev-parse HEAD");
    EXPECT_EQ(deploy(), Outcome::conflict());
    EXPECT_EQ(m_platform.requests().size(), before);
    EXPECT_EQ(inFolder("cat index.html && git status --porcelain && git rev-parse HEAD"), files);
}

TEST_F(CollabEngineTest, ARepairedMergeIsCommittedAndPublished) {
    m_folder = conflictedFolder("folder");
    inFolder("echo both > index.html");
    EXPECT_EQ(state(), CollabState::resolved());
    EXPECT_EQ(deploy(), Outcome::published());
    EXPECT_EQ(m_platform.file("site", "index.html"), "both\n");
    EXPECT_EQ(onPlatform("git rev-list --parents -1 main | wc -w"), "3\n");
    EXPECT_EQ(state(), CollabState::upToDate());
}

TEST_F(CollabEngineTest, ARaceIsLostTwiceAndWonInTheThirdRound) {
    std::atomic<int> pushes = 0;
    m_platform.beforeEachPush([this, &pushes] {
        if (++pushes <= 2) {
            m_platform.push("site", "echo " + std::to_string(pushes) + " > other.html");
        }
    });
    m_folder = linkedFolder("folder");
    inFolder("echo mine > index.html");
    EXPECT_EQ(deploy(), Outcome::published());
    EXPECT_EQ(pushes, 3);
    EXPECT_EQ(m_platform.file("site", "index.html"), "mine\n");
    EXPECT_EQ(m_platform.file("site", "other.html"), "2\n");
}

TEST_F(CollabEngineTest, ARaceLostThreeTimesEndsAndKeepsTheCommit) {
    std::atomic<int> pushes = 0;
    m_platform.beforeEachPush(
        [this, &pushes] { m_platform.push("site", "echo " + std::to_string(++pushes) + " > other.html"); });
    m_folder = linkedFolder("folder");
    inFolder("echo mine > index.html");
    EXPECT_EQ(deploy(), Outcome::failed(QStringLiteral("the site kept changing while publishing — try again")));
    EXPECT_EQ(pushes, 3);
    EXPECT_THAT(inFolder("git log --format=%s"), HasSubstr("Update index.html"));
}

TEST_F(CollabEngineTest, ARefusalByAHookCountsAsALostRace) {
    std::atomic<int> pushes = 0;
    m_platform.beforeEachPush([&pushes] { ++pushes; });
    m_folder = linkedFolder("folder");
    refusePushes("Not today.");
    inFolder("echo mine > index.html");
    EXPECT_EQ(deploy(), Outcome::failed(QStringLiteral("the site kept changing while publishing — try again")));
    EXPECT_EQ(pushes, 3);
}

TEST_F(CollabEngineTest, APushThatFailsForAnotherReasonIsToldInGitsWords) {
    m_folder = linkedFolder("folder");
    onPlatform("git config http.receivepack false");
    inFolder("echo mine > index.html");
    const Outcome outcome = deploy();
    EXPECT_EQ(outcome.kind, Outcome::Kind::Failed);
    EXPECT_THAT(outcome.text.toStdString(), HasSubstr("403"));
    EXPECT_EQ(outcome.text.back(), u'\n');
}

TEST_F(CollabEngineTest, APullThatFailsIsToldInGitsWordsAndTheCommitStays) {
    m_folder = linkedFolder("folder");
    inFolder("echo mine > index.html");
    const Git::Access signedOut{config(), std::nullopt};
    const Outcome outcome = await(CollabEngine::deploy(m_folder, signedOut, identity(), {}));
    EXPECT_EQ(outcome.kind, Outcome::Kind::Failed);
    EXPECT_THAT(outcome.text.toStdString(), HasSubstr("terminal prompts disabled"));
    EXPECT_EQ(inFolder("git log -1 --format=%s"), "Update index.html\n");
    EXPECT_EQ(deploy(), Outcome::published());
}

TEST_F(CollabEngineTest, ACommitThatFailsIsToldInGitsWordsWithoutNetwork) {
    m_folder = linkedFolder("folder");
    inFolder("echo mine > index.html");
    const std::size_t before = m_platform.requests().size();
    const Outcome outcome = await(CollabEngine::deploy(m_folder, access(), Identity(), {}));
    EXPECT_EQ(outcome.kind, Outcome::Kind::Failed);
    EXPECT_THAT(outcome.text.toStdString(), HasSubstr("empty ident name"));
    const Outcome updated = await(CollabEngine::update(m_folder, access(), Identity(), {}));
    EXPECT_THAT(updated.text.toStdString(), HasSubstr("empty ident name"));
    EXPECT_EQ(m_platform.requests().size(), before);
}

TEST_F(CollabEngineTest, AnAddThatFailsIsToldInGitsWords) {
    m_folder = linkedFolder("folder");
    inFolder("mkdir .git/index.lock");
    EXPECT_THAT(deploy().text.toStdString(), HasSubstr("index.lock': File exists"));
}

TEST_F(CollabEngineTest, TheCounterpartIsTheAuthorOfTheOtherSide) {
    m_folder = conflictedFolder("folder");
    EXPECT_EQ(counterpart(), QStringLiteral("Tea Mate"));
}

TEST_F(CollabEngineTest, OutsideAMergeThereIsNoCounterpart) {
    m_folder = linkedFolder("folder");
    EXPECT_EQ(counterpart(), std::nullopt);
    m_folder = newFolder("plain");
    EXPECT_EQ(counterpart(), std::nullopt);
}

TEST_F(CollabEngineTest, LinkingChangesNoFile) {
    m_folder = newFolder("folder");
    inFolder("echo mine > index.html && mkdir sub && printf 'a\\r\\n' > sub/new.html && chmod 600 sub/new.html");
    const std::string before =
        inFolder("find . -path ./.git -prune -o -printf '%p %m %s %T@ %i\\n' | sort | tail -n +2");
    EXPECT_EQ(link(), std::nullopt);
    EXPECT_EQ(inFolder("find . -path ./.git -prune -o -printf '%p %m %s %T@ %i\\n' | sort | tail -n +2"), before);
    EXPECT_EQ(state(), CollabState::upToDate());
    EXPECT_EQ(inFolder("git status --porcelain"), " M index.html\n D other.html\n?? sub/\n");
}

TEST_F(CollabEngineTest, TheFirstPublishAfterLinkingIsOneChangeOnTopOfTheHistory) {
    const std::string before = m_platform.head("site");
    m_folder = newFolder("folder");
    inFolder("echo mine > index.html");
    ASSERT_EQ(link(), std::nullopt);
    EXPECT_EQ(deploy(), Outcome::published());
    EXPECT_EQ(onPlatform("git rev-parse main^"), before + "\n");
    EXPECT_EQ(onPlatform("git ls-tree --name-only main"), "index.html\n");
}

TEST_F(CollabEngineTest, AFolderWithVersionControlIsNotLinked) {
    m_folder = newFolder("folder");
    inFolder("mkdir .git");
    EXPECT_EQ(link(), QStringLiteral("the folder already has version control"));
    EXPECT_TRUE(std::filesystem::is_empty(m_folder / ".git"));
    m_folder = newFolder("file");
    inFolder("touch .git");
    EXPECT_EQ(link(), QStringLiteral("the folder already has version control"));
    m_folder = newFolder("link");
    inFolder("ln -s nowhere .git");
    EXPECT_EQ(link(), QStringLiteral("the folder already has version control"));
}

TEST_F(CollabEngineTest, ALinkToASiteWithoutHistoryFailsAndASecondOneFindsVersionControl) {
    m_platform.addEmptySite("empty");
    m_folder = newFolder("folder");
    const auto linkEmpty = [this] {
        return await(CollabEngine::link(QStringLiteral("empty"), m_folder, access(), {})).value_or(QString());
    };
    EXPECT_THAT(linkEmpty().toStdString(), HasSubstr("couldn't find remote ref main"));
    EXPECT_TRUE(std::filesystem::exists(m_folder / ".git"));
    EXPECT_EQ(linkEmpty(), "the folder already has version control");
}

TEST_F(CollabEngineTest, ALinkToNoSiteFailsInGitsWords) {
    m_folder = newFolder("folder");
    const auto failure = await(CollabEngine::link(QStringLiteral("missing"), m_folder, access(), {}));
    EXPECT_THAT(failure.value_or(QString()).toStdString(), HasSubstr("not found"));
}

TEST_F(CollabEngineTest, AnUpdateMergesAndPushesNothing) {
    m_folder = linkedFolder("folder");
    m_platform.push("site", "echo theirs > other.html");
    const std::string head = m_platform.head("site");
    inFolder("echo mine > index.html");
    EXPECT_EQ(update(), Outcome::updated());
    EXPECT_EQ(inFolder("cat index.html other.html"), "mine\ntheirs\n");
    EXPECT_EQ(m_platform.head("site"), head);
    EXPECT_EQ(state(), CollabState::upToDate());
}

TEST_F(CollabEngineTest, AnUpdateWithNothingToMergeIsUpdated) {
    m_folder = linkedFolder("folder");
    EXPECT_EQ(update(), Outcome::updated());
}

TEST_F(CollabEngineTest, AnUpdateThatFailsIsToldInGitsWords) {
    m_folder = linkedFolder("folder");
    const Git::Access signedOut{config(), std::nullopt};
    const Outcome outcome = await(CollabEngine::update(m_folder, signedOut, identity(), {}));
    EXPECT_EQ(outcome.kind, Outcome::Kind::Failed);
    EXPECT_THAT(outcome.text.toStdString(), HasSubstr("terminal prompts disabled"));
}

TEST_F(CollabEngineTest, KeepingMineTakesMyFileWholeAndKeepsWhatWasMerged) {
    m_folder = linkedFolder("folder");
    m_platform.push("site", "echo theirs > index.html && echo theirs > other.html");
    inFolder("echo mine > index.html");
    ASSERT_EQ(update(), Outcome::conflict());
    EXPECT_EQ(taking(Side::Ours), Outcome::published());
    EXPECT_EQ(m_platform.file("site", "index.html"), "mine\n");
    EXPECT_EQ(m_platform.file("site", "other.html"), "theirs\n");
}

TEST_F(CollabEngineTest, KeepingTheirsTakesTheirFileWhole) {
    m_folder = conflictedFolder("folder");
    EXPECT_EQ(taking(Side::Theirs), Outcome::published());
    EXPECT_EQ(inFolder("cat index.html"), "theirs\n");
    EXPECT_EQ(m_platform.file("site", "index.html"), "theirs\n");
    EXPECT_EQ(state(), CollabState::upToDate());
}

TEST_F(CollabEngineTest, ASideOfABinaryFileIsTaken) {
    m_platform.push("site", "printf 'base\\0' > logo.png");
    m_folder = linkedFolder("folder");
    m_platform.push("site", "printf 'theirs\\0' > logo.png");
    inFolder("printf 'mine\\0' > logo.png");
    ASSERT_EQ(update(), Outcome::conflict());
    EXPECT_EQ(taking(Side::Ours), Outcome::published());
    EXPECT_EQ(m_platform.file("site", "logo.png"), std::string("mine\0", 5));
}

TEST_F(CollabEngineTest, ASideOfAFileNamedLikeAPatternIsTakenOfThatFileOnly) {
    m_platform.push("site", "echo base > '*.html' && echo base > café.html");
    m_folder = linkedFolder("folder");
    m_platform.push("site", "echo theirs > '*.html' && echo theirs > café.html && echo theirs > index.html");
    inFolder("echo mine > '*.html' && echo mine > café.html");
    ASSERT_EQ(update(), Outcome::conflict());
    EXPECT_EQ(taking(Side::Ours), Outcome::published());
    EXPECT_EQ(inFolder("cat '*.html' café.html index.html"), "mine\nmine\ntheirs\n");
}

TEST_F(CollabEngineTest, AFileDeletedOnTheSideThatIsTakenFailsInGitsWordsAndTheMergeStays) {
    m_folder = linkedFolder("folder");
    m_platform.push("site", "rm index.html");
    inFolder("echo mine > index.html");
    ASSERT_EQ(update(), Outcome::conflict());
    const Outcome outcome = taking(Side::Theirs);
    EXPECT_EQ(outcome.kind, Outcome::Kind::Failed);
    EXPECT_THAT(outcome.text.toStdString(), HasSubstr("does not have their version"));
    EXPECT_EQ(state(), CollabState::conflict({QStringLiteral("index.html")}));
    EXPECT_EQ(taking(Side::Ours), Outcome::published());
    EXPECT_EQ(m_platform.file("site", "index.html"), "mine\n");
}

TEST_F(CollabEngineTest, APathThatGitQuotesFailsInGitsWords) {
    m_platform.push("site", "echo base > \"$(printf 'a\\tb')\"");
    m_folder = linkedFolder("folder");
    m_platform.push("site", "echo theirs > \"$(printf 'a\\tb')\"");
    inFolder("echo mine > \"$(printf 'a\\tb')\"");
    ASSERT_EQ(update(), Outcome::conflict());
    EXPECT_THAT(taking(Side::Ours).text.toStdString(), HasSubstr("did not match any file"));
}

TEST_F(CollabEngineTest, TakingASideOutsideAMergeFailsInGitsWords) {
    m_folder = linkedFolder("folder");
    const Outcome outcome = taking(Side::Ours);
    EXPECT_EQ(outcome.kind, Outcome::Kind::Failed);
    EXPECT_THAT(outcome.text.toStdString(), HasSubstr("nothing to commit, working tree clean"));
}

TEST_F(CollabEngineTest, WhereGitCannotListTheConflictsNoSideIsTakenAndTheMergeStays) {
    m_folder = conflictedFolder("folder");
    {
        const RefusingGit refusing("diff --name-only --diff-filter=U");
        EXPECT_EQ(taking(Side::Ours), Outcome::failed(QString::fromUtf8(RefusingGit::words)));
    }
    EXPECT_EQ(state(), CollabState::conflict({QStringLiteral("index.html")}));
    EXPECT_EQ(m_platform.file("site", "index.html"), "theirs\n");
}

TEST_F(CollabEngineTest, WhereGitCannotListWhatIsUnmergedNoMergeIsPublished) {
    m_folder = conflictedFolder("folder");
    {
        const RefusingGit refusing("ls-files -u");
        const Outcome refused = Outcome::failed(QString::fromUtf8(RefusingGit::words));
        EXPECT_EQ(deploy(), refused);
        EXPECT_EQ(update(), refused);
        EXPECT_EQ(await(CollabEngine::completeMerge(m_folder, identity(), {})), refused.text);
        EXPECT_THAT(await(CollabEngine::unresolvedFiles(m_folder, {})), IsEmpty());
        EXPECT_EQ(state(), CollabState::resolved());
    }
    EXPECT_EQ(state(), CollabState::conflict({QStringLiteral("index.html")}));
    EXPECT_EQ(m_platform.file("site", "index.html"), "theirs\n");
}

TEST_F(CollabEngineTest, AnUpdateInTheMiddleOfAMergeCommitsNoMarkers) {
    m_folder = conflictedFolder("folder");
    EXPECT_EQ(update(), Outcome::conflict());
    EXPECT_EQ(state(), CollabState::conflict({QStringLiteral("index.html")}));
    inFolder("echo both > index.html");
    EXPECT_EQ(update(), Outcome::updated());
    EXPECT_EQ(inFolder("git rev-list --count --merges HEAD && cat index.html"), "1\nboth\n");
    EXPECT_EQ(state(), CollabState::upToDate());
}

TEST_F(CollabEngineTest, ACloneHasTheShapeOfALinkedFolder) {
    m_folder = m_home / "clone";
    EXPECT_EQ(clone(m_folder), std::nullopt);
    EXPECT_EQ(inFolder("cat index.html"), "base\n");
    EXPECT_EQ(inFolder("git remote"), "driftwell\n");
    EXPECT_EQ(state(), CollabState::upToDate());
    inFolder("echo mine > index.html");
    EXPECT_EQ(deploy(), Outcome::published());
}

TEST_F(CollabEngineTest, ACloneIntoAFolderWithFilesFailsInGitsWords) {
    m_folder = newFolder("folder");
    inFolder("echo mine > index.html");
    EXPECT_THAT(clone(m_folder).value_or(QString()).toStdString(), HasSubstr("already exists and is not an empty"));
    EXPECT_EQ(inFolder("cat index.html"), "mine\n");
}

TEST_F(CollabEngineTest, TheTokenIsInNoFile) {
    m_folder = linkedFolder("folder");
    inFolder("echo mine > index.html");
    ASSERT_EQ(deploy(), Outcome::published());
    ASSERT_EQ(clone(m_home / "clone"), std::nullopt);
    EXPECT_EQ(asTeammate(m_home.path(), "grep -r " + std::string(GitPlatform::token) + " . || true"), "");
}

TEST_F(CollabEngineTest, AFolderWithSettingsThatAreNotOursIsLeftAlone) {
    m_folder = conflictedFolder("folder");
    const auto ran = m_home / "ran";
    inFolder("echo both > index.html && echo '* filter=evil' > .gitattributes && git config filter.evil.clean 'touch " +
             ran.string() + "; cat' && git config core.sshCommand 'touch " + ran.string() + "'");
    const std::size_t before = m_platform.requests().size();
    const std::string refusal = "the folder was left alone: its git settings hold “core.sshcommand”, which is not "
                                "one that the Driftwell app writes";
    EXPECT_EQ(deploy().text.toStdString(), refusal);
    EXPECT_EQ(update().text.toStdString(), refusal);
    EXPECT_EQ(taking(Side::Ours).text.toStdString(), refusal);
    EXPECT_EQ(await(CollabEngine::completeMerge(m_folder, identity(), {})).value_or(QString()).toStdString(), refusal);
    EXPECT_THAT(await(CollabEngine::unresolvedFiles(m_folder, {})), IsEmpty());
    EXPECT_EQ(counterpart(), std::nullopt);
    EXPECT_EQ(link(), QStringLiteral("the folder already has version control"));
    EXPECT_EQ(m_platform.requests().size(), before);
    EXPECT_FALSE(std::filesystem::exists(ran));
}

TEST_F(CollabEngineTest, ARepositoryWithinTheFolderIsNotEntered) {
    m_folder = linkedFolder("folder");
    const auto ran = m_home / "ran";
    inFolder(
        "git init --quiet inner && cd inner && echo a > f && echo '* filter=x' > .gitattributes && git add -A && git "
        "commit --quiet -m x && git config filter.x.clean 'touch " +
        ran.string() + "; cat' && cd .. && git add -A && echo b > inner/f && rm -f " + ran.string());
    EXPECT_EQ(deploy(),
              Outcome::failed(QStringLiteral("the folder was left alone: it holds another git repository in “inner”")));
    EXPECT_FALSE(std::filesystem::exists(ran));
}

TEST_F(CollabEngineTest, ARepositoryWithinTheFolderIsNotCommittedAsOneEntry) {
    m_folder = newFolder("folder");
    inFolder(
        "echo mine > index.html && echo base > page.html && git init --quiet sub/inner && cd sub/inner && echo a > "
        "f && git add -A && git commit --quiet -m x");
    ASSERT_EQ(link(), std::nullopt);
    const Outcome refused =
        Outcome::failed(QStringLiteral("the folder was left alone: it holds another git repository in “sub/inner”"));
    EXPECT_EQ(deploy(), refused);
    EXPECT_EQ(update(), refused);
    EXPECT_EQ(inFolder("git ls-files"), "index.html\nother.html\n");
    inFolder("echo sub/inner > .gitignore");
    EXPECT_EQ(deploy(), Outcome::published());
    EXPECT_EQ(onPlatform("git ls-tree -r --name-only main"), ".gitignore\nindex.html\npage.html\n");
}

TEST_F(CollabEngineTest, WhereGitCannotListTheFolderNothingIsCommitted) {
    m_folder = linkedFolder("folder");
    inFolder("echo mine > index.html");
    const RefusingGit refusing("ls-files");
    EXPECT_EQ(deploy(), Outcome::failed(QString::fromUtf8(RefusingGit::words)));
    EXPECT_EQ(update(), Outcome::failed(QString::fromUtf8(RefusingGit::words)));
    EXPECT_EQ(inFolder("unset LD_PRELOAD; git status --porcelain"), " M index.html\n");
}

TEST_F(CollabEngineTest, AFolderWithoutVersionControlIsNotPublished) {
    const auto above = newFolder("above");
    asTeammate(above, "git init --quiet -b main");
    m_folder = newFolder("above/folder");
    inFolder("echo mine > index.html");
    EXPECT_EQ(deploy(), Outcome::failed(QStringLiteral("the folder has no version control")));
    EXPECT_EQ(asTeammate(above, "git status --porcelain"), "?? folder/\n");
}

TEST_F(CollabEngineTest, AFolderThatIsNotOnMainIsLeftAlone) {
    m_folder = linkedFolder("folder");
    inFolder("git checkout --quiet -b fix && echo mine > index.html");
    const Outcome otherBranch =
        Outcome::failed(QStringLiteral("the folder was left alone: the folder is on branch “fix”, not main"));
    EXPECT_EQ(deploy(), otherBranch);
    EXPECT_EQ(update(), otherBranch);
    EXPECT_EQ(taking(Side::Ours), otherBranch);
    inFolder("git checkout --quiet --detach");
    const Outcome noBranch =
        Outcome::failed(QStringLiteral("the folder was left alone: the folder is not on a branch (detached state)"));
    EXPECT_EQ(deploy(), noBranch);
    EXPECT_EQ(await(CollabEngine::completeMerge(m_folder, identity(), {})), noBranch.text);
    EXPECT_EQ(inFolder("git status --porcelain"), " M index.html\n");
    inFolder("git checkout --quiet main");
    EXPECT_EQ(deploy(), Outcome::published());
}

TEST_F(CollabEngineTest, WhatAnotherOperationOfGitHasLeftUnmergedIsNotCommitted) {
    m_folder = linkedFolder("folder");
    inFolder(
        "echo stashed > index.html && git stash --quiet && echo mine > index.html && git commit --quiet -a -m x && "
        "{ git stash pop || true; }");
    const Outcome unfinished =
        Outcome::failed(QStringLiteral("the folder was left alone: git has not finished merging “index.html”"));
    EXPECT_EQ(deploy(), unfinished);
    EXPECT_EQ(update(), unfinished);
    EXPECT_EQ(m_platform.file("site", "index.html"), "base\n");
    inFolder("echo both > index.html");
    EXPECT_EQ(deploy(), Outcome::published());
    EXPECT_EQ(m_platform.file("site", "index.html"), "both\n");
}

TEST_F(CollabEngineTest, AFolderOfAnotherPlatformIsLeftAlone) {
    const GitPlatform other;
    other.addSite("site", "echo other > index.html");
    m_folder = linkedFolder("folder");
    inFolder("git remote set-url driftwell " + other.origin() + "/git/site && echo mine > index.html");
    const Outcome refusal = Outcome::failed(
        QStringLiteral("the folder was left alone: it is not linked to a site of %1").arg(config().host()));
    EXPECT_EQ(deploy(), refusal);
    EXPECT_EQ(update(), refusal);
    EXPECT_EQ(taking(Side::Theirs), refusal);
    EXPECT_THAT(other.requests(), IsEmpty());
    EXPECT_EQ(inFolder("git status --porcelain"), " M index.html\n");
}

TEST_F(CollabEngineTest, AStoppedPublishGoesOnTheNextTime) {
    std::stop_source stop;
    m_folder = linkedFolder("folder");
    inFolder("echo mine > index.html");
    m_platform.beforeEachPush([&stop] { stop.request_stop(); });
    EXPECT_THROW(await(CollabEngine::deploy(m_folder, access(), identity(), stop.get_token())), Cancelled);
    EXPECT_EQ(deploy(), Outcome::published());
    EXPECT_EQ(m_platform.file("site", "index.html"), "mine\n");
}

} // namespace
} // namespace driftwell::tests
