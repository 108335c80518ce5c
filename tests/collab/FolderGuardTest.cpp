#include "collab/FolderGuard.h"

#include "tests/collab/CollabFixture.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FolderGuardTest : public CollabFixture {
protected:
    FolderGuardTest() {
        asTeammate(m_folder, "git init --quiet -b main && git remote add driftwell " + m_url +
                                 " && git commit --quiet --allow-empty -m x && git update-ref "
                                 "refs/remotes/driftwell/main HEAD");
    }

    FolderGuard inspect() const { return await(FolderGuard::inspect(m_folder, {})); }
    std::string refusal() const { return inspect().refusal.value_or(QString()).toStdString(); }
    std::string refusalWith(const std::string& script) const {
        asTeammate(m_folder, script);
        return refusal();
    }
    static std::string naming(const std::string& key) {
        return "its git settings hold “" + key + "”, which is not one that the Driftwell app writes";
    }

    std::filesystem::path m_folder = newFolder("folder");
    std::string m_url = m_platform.origin() + "/git/site";
};

TEST_F(FolderGuardTest, ALinkedFolderIsLetThrough) {
    EXPECT_EQ(refusal(), "");
    EXPECT_TRUE(inspect().hasVersionControl);
    EXPECT_THAT(inspect().remoteUrls, ElementsAre(m_url));
}

TEST_F(FolderGuardTest, AClonedFolderIsLetThrough) {
    m_platform.addSite("site", "echo hello > index.html");
    Git::Surroundings surroundings;
    surroundings.access = access();
    m_folder = m_home / "clone";
    ASSERT_EQ(run({"clone", "--quiet", "--origin", "driftwell", m_url, m_folder.string()}, surroundings).code, 0);
    EXPECT_EQ(refusal(), "");
    EXPECT_THAT(inspect().remoteUrls, ElementsAre(m_url));
}

TEST_F(FolderGuardTest, WhatAgentsUsuallySetIsLetThrough) {
    EXPECT_EQ(refusalWith("git config user.name Agent && git config user.email agent@example.org && git config "
                          "core.autocrlf input && git config pull.rebase false && git branch --quiet fix && git branch "
                          "--quiet --track other driftwell/main && git config color.ui always"),
              "");
}

TEST_F(FolderGuardTest, AFolderWithoutVersionControlHasNothingToRefuse) {
    m_folder = newFolder("plain");
    EXPECT_FALSE(inspect().hasVersionControl);
    EXPECT_EQ(refusal(), "");
}

TEST_F(FolderGuardTest, AMissingFolderHasNothingToRefuse) {
    m_folder = m_home / "missing";
    EXPECT_FALSE(inspect().hasVersionControl);
}

TEST_F(FolderGuardTest, NothingOfTheFolderIsRunToReadIt) {
    const auto ran = m_home / "ran";
    asTeammate(m_folder, "git config core.fsmonitor 'touch " + ran.string() + "' && git config alias.config '!touch " +
                             ran.string() + "' && git config core.pager 'touch " + ran.string() + "'");
    EXPECT_EQ(refusal(), naming("core.fsmonitor"));
    EXPECT_FALSE(std::filesystem::exists(ran));
}

TEST_F(FolderGuardTest, SettingsOfAnotherFileAreNotRead) {
    m_home.write("included", "[remote \"driftwell\"]\n\turl = http://included.example.org/git/site\n");
    EXPECT_EQ(refusalWith("git config include.path " + (m_home / "included").string()), naming("include.path"));
    EXPECT_THAT(inspect().remoteUrls, ElementsAre(m_url));
}

struct Danger {
    std::string key;
    std::string value;

    friend void PrintTo(const Danger& danger, std::ostream* stream) { *stream << danger.key << "=" << danger.value; }
};

class DangerousSetting : public FolderGuardTest, public testing::WithParamInterface<Danger> {};

TEST_P(DangerousSetting, IsRefusedByName) {
    EXPECT_EQ(refusalWith("git config --add '" + GetParam().key + "' '" + GetParam().value + "'"),
              naming(GetParam().key));
}

INSTANTIATE_TEST_SUITE_P(
    Each, DangerousSetting,
    testing::Values(
        Danger{"core.fsmonitor", "touch ran"}, Danger{"core.sshcommand", "touch ran"},
        Danger{"core.hookspath", "hooks"}, Danger{"core.askpass", "touch ran"}, Danger{"core.editor", "touch ran"},
        Danger{"core.pager", "touch ran"}, Danger{"core.worktree", "/elsewhere"}, Danger{"core.gitproxy", "touch ran"},
        Danger{"core.alternaterefscommand", "touch ran"}, Danger{"core.attributesfile", "attributes"},
        Danger{"core.excludesfile", "/dev/zero"}, Danger{"core.bare", "true"},
        Danger{"extensions.worktreeconfig", "true"}, Danger{"extensions.partialclone", "driftwell"},
        Danger{"filter.evil.clean", "touch ran"}, Danger{"filter.evil.smudge", "touch ran"},
        Danger{"filter.evil.process", "touch ran"}, Danger{"merge.evil.driver", "touch ran"},
        Danger{"diff.evil.textconv", "touch ran"}, Danger{"diff.external", "touch ran"},
        Danger{"credential.helper", "!touch ran"}, Danger{"gpg.program", "touch ran"}, Danger{"commit.gpgsign", "true"},
        Danger{"remote.driftwell.pushurl", "http://evil.example.org"}, Danger{"remote.driftwell.vcs", "evil"},
        Danger{"remote.driftwell.proxy", "http://evil.example.org"}, Danger{"remote.driftwell.uploadpack", "touch ran"},
        Danger{"remote.driftwell.receivepack", "touch ran"},
        Danger{"remote.driftwell.fetch", "+refs/heads/*:refs/heads/*"},
        Danger{"remote.driftwell.url", "ext::touch ran"}, Danger{"remotes.driftwell", "evil"},
        Danger{"http.proxy", "http://evil.example.org"}, Danger{"http.curloptresolve", "host:80:10.0.0.1"},
        Danger{"http.sslverify", "false"}, Danger{"http.extraheader", "X: y"}, Danger{"http.followredirects", "true"},
        Danger{"http.cookiefile", "cookies"}, Danger{"url.http://evil.example.org/.insteadof", "http"},
        Danger{"url.http://evil.example.org/.pushinsteadof", "http"}, Danger{"include.path", "other"},
        Danger{"includeif.gitdir:/.path", "other"}, Danger{"branch.main.mergeoptions", "-s evil"},
        Danger{"branch.main.pushremote", "evil"}, Danger{"branch.fix.remote", "http://evil.example.org"},
        Danger{"alias.status", "!touch ran"}, Danger{"protocol.ext.allow", "always"},
        Danger{"submodule.inner.update", "!touch ran"}, Danger{"sequence.editor", "touch ran"},
        Danger{"trailer.x.command", "touch ran"}, Danger{"pull.twohead", "evil"},
        Danger{"lfs.customtransfer.x.path", "ran"}, Danger{"made.up", "later"},
        Danger{"core.repositoryformatversion", "2"}, Danger{"extensions.objectformat", "sha512"},
        Danger{"branch.fix.merge", "refs/remotes/evil/main"}));

TEST_F(FolderGuardTest, ASecondAddressIsRefused) {
    EXPECT_EQ(refusalWith("git remote set-url --add driftwell http://evil.example.org/git/site"),
              "its remote “driftwell” has more than one address");
}

TEST_F(FolderGuardTest, AHistoryKeptElsewhereIsRefused) {
    EXPECT_EQ(refusalWith("echo /elsewhere > .git/objects/info/alternates"),
              "its history is kept in another folder, named in “.git/objects/info/alternates”");
    EXPECT_EQ(refusalWith("mv .git/objects/info/alternates .git/objects/info/http-alternates"),
              "its history is kept in another folder, named in “.git/objects/info/http-alternates”");
}

TEST_F(FolderGuardTest, AGitFileThatPointsElsewhereIsRefusedAndItsRemoteIsKnown) {
    EXPECT_EQ(refusalWith("mv .git ../moved && echo 'gitdir: ../moved' > .git"),
              "its version control is kept in another folder");
    EXPECT_THAT(inspect().remoteUrls, ElementsAre(m_url));
}

TEST_F(FolderGuardTest, AGitFolderThatIsALinkIsRefused) {
    EXPECT_EQ(refusalWith("mv .git ../moved && ln -s ../moved .git"), "its version control is kept in another folder");
    EXPECT_THAT(inspect().remoteUrls, ElementsAre(m_url));
}

TEST_F(FolderGuardTest, AGitFolderWithSettingsElsewhereIsRefused) {
    EXPECT_EQ(refusalWith("mkdir ../common && mv .git/config ../common && echo ../../common > .git/commondir"),
              "its version control is kept in another folder");
    EXPECT_THAT(inspect().remoteUrls, ElementsAre(m_url));
}

TEST_F(FolderGuardTest, AWorktreeOfAnotherRepositoryIsRefused) {
    EXPECT_EQ(refusalWith("git worktree add --quiet --detach ../worktree"), "");
    m_folder = m_home / "worktree";
    EXPECT_EQ(refusal(), "its version control is kept in another folder");
    EXPECT_THAT(inspect().remoteUrls, ElementsAre(m_url));
}

TEST_F(FolderGuardTest, OtherRepositoriesNamedInTheFolderAreRefused) {
    EXPECT_EQ(refusalWith("touch .gitmodules"), "it holds other repositories, named in “.gitmodules”");
}

TEST_F(FolderGuardTest, AnIncompleteGitFolderIsRefused) {
    EXPECT_EQ(refusalWith("rm .git/HEAD"), "its version control is incomplete: “.git/HEAD” is not a file");
    EXPECT_EQ(refusalWith("rm -r .git/refs"), "its version control is incomplete: “.git/refs” is not a folder");
    EXPECT_EQ(refusalWith("rm .git/config"), "its version control has no settings");
    EXPECT_THAT(inspect().remoteUrls, IsEmpty());
}

TEST_F(FolderGuardTest, SettingsThatCannotBeReadAreRefused) {
    EXPECT_EQ(refusalWith("echo '[core' > .git/config"), "its git settings cannot be read");
    EXPECT_EQ(refusalWith("yes '[a] b = c' | head -c 3000000 > .git/config"), "its git settings cannot be read");
}

TEST_F(FolderGuardTest, APipeInPlaceOfTheSettingsIsNotWaitedFor) {
    EXPECT_EQ(refusalWith("rm .git/config && mkfifo .git/config"), "its version control has no settings");
}

TEST(ParseSettings, ASettingMayBeWithoutAValueOrHaveLineFeeds) {
    const std::vector<GitSetting> settings = parseSettings(std::string_view("a.b\nc\nd\0e.f\0g.h\n\0", 17));
    ASSERT_EQ(settings.size(), 3U);
    EXPECT_EQ(settings[0].key, "a.b");
    EXPECT_EQ(settings[0].value, "c\nd");
    EXPECT_EQ(settings[1].key, "e.f");
    EXPECT_EQ(settings[1].value, std::nullopt);
    EXPECT_EQ(settings[2].value, "");
}

} // namespace
} // namespace driftwell::tests
