#include "collab/Git.h"
#include "platform/ConfigStore.h"
#include "support/Cancellation.h"
#include "tests/collab/CollabFixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>

namespace driftwell::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class GitRunTest : public CollabFixture {
protected:
    /// A program that stands in for git where the test looks at how git is called.
    std::filesystem::path program(const std::string& script) const {
        m_home.write("git", "#!/bin/sh\n" + script + "\n");
        std::filesystem::permissions(m_home / "git", std::filesystem::perms::owner_all);
        return m_home / "git";
    }

    Git::Surroundings with(const std::string& script) const {
        Git::Surroundings surroundings;
        surroundings.program = program(script);
        return surroundings;
    }

    static std::vector<std::string> lines(const QString& text) {
        std::vector<std::string> result;
        for (const QString& line : text.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
            result.push_back(line.toStdString());
        }
        return result;
    }

    std::vector<std::string> environment(Git::Surroundings surroundings) const {
        surroundings.program = program("env");
        return lines(run({}, surroundings).standardOutput);
    }
};

TEST_F(GitRunTest, TheAuthorStandsBeforeTheCommand) {
    Git::Surroundings surroundings = with("printf '%s\\n' \"$@\"");
    surroundings.access = access();
    surroundings.identity = identity();
    EXPECT_THAT(lines(run({"commit", "-m", "a b"}, surroundings).standardOutput),
                ElementsAre("-c", "user.name=Ada L. \"Quote\" O’Neil", "-c", "user.email=ada@example.org", "commit",
                            "-m", "a b"));
}

TEST_F(GitRunTest, WithoutAnAuthorThereAreTheCallersArgumentsOnly) {
    EXPECT_THAT(lines(run({"status", "--porcelain"}, with("printf '%s\\n' \"$@\"")).standardOutput),
                ElementsAre("status", "--porcelain"));
}

TEST_F(GitRunTest, AnAuthorsNameWithQuotesIsTheAuthorOfACommit) {
    const auto folder = newFolder("site");
    Git::Surroundings surroundings;
    surroundings.folder = folder;
    surroundings.identity = identity();
    ASSERT_EQ(run({"init", "--quiet", "-b", "main"}, surroundings).code, 0);
    ASSERT_EQ(run({"commit", "--quiet", "--allow-empty", "-m", "x"}, surroundings).code, 0);
    EXPECT_EQ(run({"log", "-1", "--format=%an <%ae>"}, surroundings).standardOutput,
              "Ada L. \"Quote\" O’Neil <ada@example.org>\n");
}

TEST_F(GitRunTest, AFolderThatDoesNotExistIsAFailureToStart) {
    Git::Surroundings surroundings;
    surroundings.folder = m_home / "missing";
    const Git::RunResult result = run({"status"}, surroundings);
    EXPECT_EQ(result.code, 127);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_THAT(result.standardError.toStdString(), HasSubstr("No such file or directory"));
}

TEST_F(GitRunTest, AGitThatIsMissingIsAFailureToStart) {
    Git::Surroundings surroundings;
    surroundings.program = m_home / "missing";
    const Git::RunResult result = run({"status"}, surroundings);
    EXPECT_EQ(result.code, 127);
    EXPECT_THAT(result.failureText().toStdString(), HasSubstr("No such file or directory"));
}

TEST_F(GitRunTest, AnExitCodeIsGivenAsItStands) {
    EXPECT_EQ(run({}, with("echo out; echo err >&2; exit 3")).code, 3);
    const Git::RunResult result = run({"no-such-command"}, {});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.failureText().toStdString(), StartsWith("git: 'no-such-command' is not a git command"));
}

TEST_F(GitRunTest, TheFailureTextIsWhatWentToStandardErrorUnchanged) {
    EXPECT_EQ(run({}, with("echo out; echo '  err ' >&2; exit 1")).failureText(), "  err \n");
}

TEST_F(GitRunTest, WithoutAStandardErrorTheFailureTextIsTheStandardOutput) {
    EXPECT_EQ(run({}, with("echo out; exit 1")).failureText(), "out\n");
}

TEST_F(GitRunTest, AStreamThatIsNotUtf8IsEmpty) {
    const Git::RunResult result = run({}, with("echo out; printf 'a\\377b' >&2; exit 1"));
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(result.failureText(), "out\n");
    EXPECT_EQ(run({}, with("printf 'a\\303'")).standardOutput, "");
    EXPECT_EQ(run({}, with("printf 'a\\303\\251'")).standardOutput, "aé");
}

TEST_F(GitRunTest, BothOutputsAreReadAtOnce) {
    const Git::RunResult result = run({}, with("yes e | head -c 1000000 >&2; yes o | head -c 1000000"));
    EXPECT_EQ(result.standardOutput.size(), 1000000);
    EXPECT_EQ(result.standardError.size(), 1000000);
}

TEST_F(GitRunTest, AGitThatSaysWithoutEndIsEnded) {
    Git::Surroundings surroundings = with("yes");
    surroundings.outputLimit = 1000000;
    const Git::RunResult result = run({}, surroundings);
    EXPECT_NE(result.code, 0);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_EQ(result.failureText(), "git was stopped: it said more than can be read");
}

TEST_F(GitRunTest, AStopEndsGitAndAllThatItStarted) {
    std::stop_source stop;
    const auto pids = m_home / "pids";
    const auto task = Git::run({},
                               with("sleep 1000 & echo $$ $! > " + pids.string() + ".new; mv " + pids.string() +
                                    ".new " + pids.string() + "; wait"),
                               stop.get_token());
    waitUntil([&pids] { return std::filesystem::exists(pids); });
    stop.request_stop();
    waitUntil([&task] { return task.isReady(); });
    EXPECT_THROW(await(Git::run({}, {}, stop.get_token())), Cancelled);
    std::ifstream file(pids);
    for (pid_t pid = 0; file >> pid;) {
        waitUntil([pid] {
            std::ifstream state("/proc/" + std::to_string(pid) + "/stat");
            std::string number;
            std::string name;
            std::string letter;
            return !(state >> number >> name >> letter) || letter == "Z";
        });
    }
}

TEST_F(GitRunTest, AStoppedRunIsCancelledAndNoFailure) {
    std::stop_source stop;
    auto task = Git::run({}, with("touch " + (m_home / "started").string() + "; sleep 1000"), stop.get_token());
    waitUntil([this] { return std::filesystem::exists(m_home / "started"); });
    stop.request_stop();
    EXPECT_THROW(await(std::move(task)), Cancelled);
}

TEST_F(GitRunTest, NothingIsAsked) {
    const auto variables = environment({});
    EXPECT_THAT(variables, Contains("GIT_TERMINAL_PROMPT=0"));
    EXPECT_THAT(variables, Contains("GIT_ASKPASS="));
    EXPECT_THAT(variables, Contains("SSH_ASKPASS="));
}

TEST_F(GitRunTest, MessagesAreInEnglish) {
    const ScopedVariable language("LANGUAGE", QByteArray("de"));
    const ScopedVariable locale("LC_ALL", QByteArray("de_DE.UTF-8"));
    const auto variables = environment({});
    EXPECT_THAT(variables, Contains("LC_ALL=C.UTF-8"));
    EXPECT_THAT(variables, Not(Contains(StartsWith("LANGUAGE="))));
}

TEST_F(GitRunTest, TheRestOfTheEnvironmentIsInherited) {
    const ScopedVariable variable("DRIFTWELL_TEST_VARIABLE", QByteArray("kept"));
    EXPECT_THAT(environment({}), Contains("DRIFTWELL_TEST_VARIABLE=kept"));
}

TEST_F(GitRunTest, NoVariableOfGitsIsInherited) {
    const auto elsewhere = newFolder("elsewhere");
    asTeammate(elsewhere, "git init --quiet -b elsewhere");
    const auto folder = newFolder("site");
    asTeammate(folder, "git init --quiet -b main");
    const ScopedVariable directory("GIT_DIR", QByteArray::fromStdString((elsewhere / ".git").string()));
    const ScopedVariable trace("GIT_TRACE_CURL", QByteArray::fromStdString((m_home / "trace").string()));
    const ScopedVariable trace2("GIT_TRACE2_EVENT", QByteArray::fromStdString((m_home / "trace2").string()));
    Git::Surroundings surroundings;
    surroundings.folder = folder;
    EXPECT_EQ(run({"symbolic-ref", "--short", "HEAD"}, surroundings).standardOutput, "main\n");
    EXPECT_FALSE(std::filesystem::exists(m_home / "trace2"));
    for (const std::string& variable :
         lines(QString::fromStdString(asTeammate(m_home.path(), "git rev-parse --local-env-vars")))) {
        const ScopedVariable set(variable.c_str(), QByteArray("poison"));
        EXPECT_THAT(environment({}), Not(Contains(variable + "=poison")));
    }
}

TEST_F(GitRunTest, AnAskpassProgramIsNotRun) {
    m_platform.addSite("site", "echo hello > index.html");
    const auto asked = m_home / "asked";
    m_home.write("askpass", "#!/bin/sh\ntouch " + asked.string() + "\necho x\n");
    std::filesystem::permissions(m_home / "askpass", std::filesystem::perms::owner_all);
    const QByteArray askpass = QByteArray::fromStdString((m_home / "askpass").string());
    const ScopedVariable git("GIT_ASKPASS", askpass);
    const ScopedVariable ssh("SSH_ASKPASS", askpass);
    m_home.write(".gitconfig", "[core]\n\taskPass = " + askpass.toStdString() + "\n");
    Git::Surroundings surroundings;
    surroundings.access = Git::Access{config(), std::nullopt};
    surroundings.folder = m_home.path();
    EXPECT_NE(run({"ls-remote", m_platform.origin() + "/git/site"}, surroundings).code, 0);
    EXPECT_FALSE(std::filesystem::exists(asked));
}

TEST_F(GitRunTest, TheTokenReachesThePlatform) {
    m_platform.addSite("site", "echo hello > index.html");
    Git::Surroundings surroundings;
    surroundings.access = access();
    const Git::RunResult result = run({"ls-remote", m_platform.origin() + "/git/site", "main"}, surroundings);
    EXPECT_EQ(result.code, 0) << result.standardError.toStdString();
    EXPECT_THAT(result.standardOutput.toStdString(), StartsWith(m_platform.head("site")));
}

TEST_F(GitRunTest, WithoutATokenThePlatformsRefusalIsAFailureOfGits) {
    m_platform.addSite("site", "echo hello > index.html");
    Git::Surroundings surroundings;
    surroundings.access = Git::Access{config(), std::nullopt};
    const Git::RunResult result = run({"ls-remote", m_platform.origin() + "/git/site"}, surroundings);
    EXPECT_EQ(result.code, 128);
    EXPECT_THAT(result.failureText().toStdString(), HasSubstr("terminal prompts disabled"));
    EXPECT_EQ(m_platform.requests().front().header("Authorization"), "(none)");
}

TEST_F(GitRunTest, ARunWithoutAPlatformCarriesNoToken) {
    EXPECT_THAT(environment({}), Not(Contains(HasSubstr("Bearer"))));
}

TEST_F(GitRunTest, TheTokenIsInNoArgument) {
    Git::Surroundings surroundings = with("cat /proc/$$/cmdline | tr '\\0' ' '");
    surroundings.access = access();
    surroundings.identity = identity();
    const std::string commandLine = run({"fetch"}, surroundings).standardOutput.toStdString();
    EXPECT_THAT(commandLine, HasSubstr("fetch"));
    EXPECT_THAT(commandLine, Not(HasSubstr(GitPlatform::token)));
}

TEST_F(GitRunTest, TheTokenIsInNoFileOfTheFolder) {
    m_platform.addSite("site", "echo hello > index.html");
    Git::Surroundings surroundings;
    surroundings.access = access();
    const auto clone = m_home / "clone";
    ASSERT_EQ(run({"clone", "--quiet", m_platform.origin() + "/git/site", clone.string()}, surroundings).code, 0);
    EXPECT_EQ(asTeammate(clone, "grep -r a-token . || true"), "");
}

TEST_F(GitRunTest, TheTokenGoesToNoOtherOrigin) {
    const GitPlatform other;
    Git::Surroundings surroundings;
    surroundings.access = access();
    EXPECT_NE(run({"ls-remote", other.origin() + "/git/site"}, surroundings).code, 0);
    ASSERT_THAT(other.requests(), Not(IsEmpty()));
    for (const RecordedRequest& request : other.requests()) {
        EXPECT_EQ(request.header("Authorization"), "(none)");
    }
}

TEST_F(GitRunTest, ARedirectIsNotFollowed) {
    const GitPlatform other;
    const ScriptedServer redirecting({answering(
        answer("302 Found", "", "Location: " + other.origin() + "/git/site/info/refs?service=git-upload-pack\r\n"))});
    Git::Surroundings surroundings;
    const QString origin = QString::fromLatin1(redirecting.url());
    m_home.write(".gitconfig", "[http]\n\tfollowRedirects = true\n[http \"" + origin.toStdString() +
                                   "\"]\n\tfollowRedirects = true\n");
    surroundings.access = Git::Access{PlatformConfig(origin), QString::fromUtf8(GitPlatform::token)};
    EXPECT_NE(run({"ls-remote", (origin + "/git/site").toStdString()}, surroundings).code, 0);
    EXPECT_THAT(other.requests(), IsEmpty());
}

TEST_F(GitRunTest, NothingButHttpIsSpoken) {
    m_platform.addSite("site", "echo hello > index.html");
    EXPECT_THAT(run({"ls-remote", "ext::touch " + (m_home / "ran").string()}, {}).standardError.toStdString(),
                HasSubstr("transport 'ext' not allowed"));
    EXPECT_THAT(run({"ls-remote", m_platform.repository("site").string()}, {}).standardError.toStdString(),
                HasSubstr("transport 'file' not allowed"));
    EXPECT_FALSE(std::filesystem::exists(m_home / "ran"));
}

TEST_F(GitRunTest, ATokenThatCannotStandInAHeaderIsNotSent) {
    Git::Surroundings surroundings;
    surroundings.access = Git::Access{config(), QStringLiteral("a\nb")};
    const Git::RunResult result = run({"ls-remote", m_platform.origin() + "/git/site"}, surroundings);
    EXPECT_EQ(result.code, 127);
    EXPECT_EQ(result.failureText(), "The token holds a line break or another control character and cannot be sent");
    EXPECT_THAT(m_platform.requests(), IsEmpty());
}

TEST_F(GitRunTest, HooksOfTheFolderAreNotRun) {
    const auto folder = newFolder("site");
    asTeammate(folder,
               "git init --quiet -b main && printf '#!/bin/sh\\ntouch hooked\\n' > .git/hooks/pre-commit && chmod "
               "+x .git/hooks/pre-commit");
    Git::Surroundings surroundings;
    surroundings.folder = folder;
    surroundings.identity = identity();
    EXPECT_EQ(run({"commit", "--quiet", "--allow-empty", "-m", "x"}, surroundings).code, 0);
    EXPECT_FALSE(std::filesystem::exists(folder / "hooked"));
}

TEST_F(GitRunTest, ARepositoryAboveTheFolderIsNotFound) {
    const auto above = newFolder("above");
    asTeammate(above, "git init --quiet -b main");
    Git::Surroundings surroundings;
    surroundings.folder = newFolder("above/site");
    EXPECT_EQ(run({"symbolic-ref", "--short", "HEAD"}, surroundings).code, 128);
}

TEST_F(GitRunTest, ThePersonsOwnSettingsHold) {
    m_home.write(".gitconfig", "[alias]\n\thello = !echo hello\n");
    EXPECT_EQ(run({"hello"}, {}).standardOutput, "hello\n");
}

TEST_F(GitRunTest, TwoRunsAtOnceDoNotDisturbEachOther) {
    auto first = Git::run({"1"}, with("sleep 0.1; echo $1"), {});
    auto second = Git::run({"2"}, with("sleep 0.1; echo $1"), {});
    EXPECT_EQ(await(std::move(second)).standardOutput, "2\n");
    EXPECT_EQ(await(std::move(first)).standardOutput, "1\n");
}

TEST_F(GitRunTest, ARemotesAddressIsTheOriginAndTheSite) {
    EXPECT_EQ(Git::remoteUrl(PlatformConfig(QStringLiteral("https://sites.example.org/")), QStringLiteral("docs")),
              "https://sites.example.org/git/docs");
    EXPECT_EQ(Git::remoteUrl(PlatformConfig(QStringLiteral("sites.example.org")), QStringLiteral("docs")),
              "https://sites.example.org/git/docs");
}

TEST_F(GitRunTest, TheTokenIsTheOneThatIsStored) {
    const ConfigStore store(m_home / "config.json");
    EXPECT_EQ(Git::Access::of(config(), store).token, std::nullopt);
    store.saveToken(QStringLiteral("stored"), config());
    EXPECT_EQ(Git::Access::of(config(), store).token, QStringLiteral("stored"));
}

} // namespace
} // namespace driftwell::tests
