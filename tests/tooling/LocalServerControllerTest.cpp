#include "tooling/LocalServerController.h"

#include "support/Cancellation.h"
#include "tests/Await.h"
#include "tests/ScopedVariable.h"
#include "tests/support/Checkout.h"
#include "tests/support/PlatformServer.h"
#include "tests/support/Program.h"

#include <gmock/gmock.h>
#include <signal.h>
#include <unistd.h>

#include <fstream>

namespace driftwell {

void PrintTo(const LocalServerPhase& phase, std::ostream* stream) {
    *stream << "phase " << static_cast<int>(phase.kind) << " \"" << phase.text.toStdString() << '"';
}

} // namespace driftwell

namespace driftwell::tests {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using Phase = LocalServerPhase;
using Kind = Phase::Kind;

const QString exited = QStringLiteral("local server exited — ");

Task<> noSleep(std::chrono::milliseconds, std::stop_token stop) {
    throwIfCancelled(stop);
    co_return;
}

class LocalServerControllerTest : public testing::Test {
protected:
    LocalServerControllerTest() {
        m_system.now = [this] {
            return m_now;
        };
    }
    void TearDown() override {
        if (m_server) {
            await(m_server->end());
        }
        waitForEnd(checkout.server());
    }

    LocalServerController& server() {
        if (!m_server) {
            m_server = std::make_unique<LocalServerController>(m_system);
            QObject::connect(m_server.get(), &LocalServerController::phaseChanged, m_server.get(),
                             [this] { m_phases.push_back(m_server->phase().kind); });
        }
        return *m_server;
    }

    Phase started() {
        await(server().start(checkout.path(), checkout.origin()));
        return server().phase();
    }

    static void waitForEnd(pid_t process) {
        waitUntil([process] { return !isRunning(process); });
    }

    /// Returns when the server's script has written the file "ready".
    static Task<> sleepUntilReady(const Checkout* checkout, std::stop_token stop) {
        while (checkout->read("ready").empty()) {
            co_await sleepFor(10ms, stop);
        }
    }

    TestFolder home;
    ScopedVariable m_home{"HOME", QByteArray(home.path().c_str())};
    Checkout checkout;
    LocalServerController::System m_system;
    LocalServerController::Moment m_now{};
    std::vector<Kind> m_phases;
    std::unique_ptr<LocalServerController> m_server;
};

TEST_F(LocalServerControllerTest, IsIdleAtFirst) {
    EXPECT_EQ(server().phase(), Phase::idle());
}

TEST_F(LocalServerControllerTest, RunsTheServerOfACheckout) {
    EXPECT_EQ(started(), Phase::running());
    EXPECT_THAT(m_phases, ElementsAre(Kind::Starting, Kind::Running));
    EXPECT_TRUE(isRunning(checkout.server()));
}

TEST_F(LocalServerControllerTest, RunsItInThePlainShellWhereThereIsNoOther) {
    m_system.shells = {home / "zsh", "/bin/sh"};
    EXPECT_EQ(started(), Phase::running());
}

TEST_F(LocalServerControllerTest, TheServerIsToldThatItIsForDevelopment) {
    checkout.serveWith("echo \"$DW_DEV|$PWD|$*\" > told; exit 1");
    started();
    EXPECT_EQ(checkout.read("told"), "1|" + (checkout.path() / "packages/server").string() + "|src/index.ts\n");
}

TEST_F(LocalServerControllerTest, TheShellIsALoginShellWithTheWatchdog) {
    home.write("shell", "#!/bin/sh\nprintf '%s\\n' \"$@\" > \"$HOME/arguments\"\n");
    std::filesystem::permissions(home / "shell", std::filesystem::perms::owner_all);
    m_system.shells = {home / "shell"};
    started();
    EXPECT_EQ(home.read("arguments"), "-lc\n"
                                      "./node_modules/.bin/tsx src/index.ts &\n"
                                      "SERVER=$!\n"
                                      "trap 'kill $SERVER 2>/dev/null' EXIT\n"
                                      "while kill -0 " +
                                          std::to_string(::getpid()) +
                                          " 2>/dev/null && kill -0 $SERVER 2>/dev/null; do\n"
                                          "  sleep 2\n"
                                          "done\n");
}

TEST_F(LocalServerControllerTest, AServerThatAnswersAlreadyIsTaken) {
    PlatformServer other;
    other.answer("/api/sites", 200, "[]");
    await(server().start(checkout.path(), QStringLiteral("http://localhost:%1").arg(other.port())));
    EXPECT_EQ(server().phase(), Phase::running());
    EXPECT_EQ(checkout.server(), 0) << "nothing was started";
}

TEST_F(LocalServerControllerTest, TheQuestionToTheServerCarriesNoToken) {
    PlatformServer other;
    other.answer("/api/sites", 200, "[]");
    await(server().start(checkout.path(), QStringLiteral("http://localhost:%1/").arg(other.port())));
    ASSERT_EQ(other.requests("/api/sites").size(), 1U);
    EXPECT_EQ(other.requests().front().method, "GET");
    EXPECT_THAT(other.requests().front().headers, testing::Not(testing::Contains(testing::Key("authorization"))));
}

class UnhealthyStatusTest : public LocalServerControllerTest, public testing::WithParamInterface<int> {};

TEST_P(UnhealthyStatusTest, OnlyAPlainSuccessIsAnAnswer) {
    PlatformServer other;
    other.answer("/api/sites", GetParam(), "[]");
    checkout.serveWith("echo 'port taken'; exit 1");
    await(server().start(checkout.path(), QStringLiteral("http://localhost:%1").arg(other.port())));
    EXPECT_EQ(server().phase(), Phase::failed(exited + "port taken"));
}

INSTANTIATE_TEST_SUITE_P(Statuses, UnhealthyStatusTest, testing::Values(201, 204, 401, 403, 404, 500));

TEST_F(LocalServerControllerTest, AServerThatEndsBeforeItAnswersHasFailed) {
    checkout.serveWith("echo 'Error: no database'; echo '    at start (index.ts:1)'; exit 1");
    EXPECT_EQ(started(), Phase::failed(exited + "Error: no database"));
    EXPECT_THAT(m_phases, ElementsAre(Kind::Starting, Kind::Failed));
}

TEST_F(LocalServerControllerTest, BothOutputsOfTheServerTellWhy) {
    checkout.serveWith("echo one; echo 'an error' >&2; echo two; exit 1");
    EXPECT_EQ(started(), Phase::failed(exited + "an error"));
}

TEST_F(LocalServerControllerTest, AServerWithoutOutputSaysSo) {
    checkout.serveWith("exit 1");
    EXPECT_EQ(started(), Phase::failed(exited + "no output"));
}

TEST_F(LocalServerControllerTest, MuchOutputIsNoHarm) {
    checkout.serveWith("echo 'Error: early'; yes | head -c 20000000; echo; echo last; exit 1");
    EXPECT_EQ(started(), Phase::failed(exited + "last"));
}

TEST_F(LocalServerControllerTest, AShellThatCannotBeLaunchedHasFailed) {
    std::filesystem::remove_all(checkout.path() / "packages/server");
    EXPECT_EQ(started(), Phase::failed(QStringLiteral("couldn’t launch the dev server: No such file or directory")));
}

TEST_F(LocalServerControllerTest, WithoutAnyShellItHasFailed) {
    m_system.shells = {home / "zsh", home / "sh"};
    EXPECT_EQ(started(), Phase::failed(QStringLiteral("couldn’t launch the dev server: No such file or directory")));
}

TEST_F(LocalServerControllerTest, AMissingSharedPackageIsBuiltFirst) {
    checkout.buildWith(home.path(), R"(echo "$PWD|$*" > "$HOME/built")");
    EXPECT_EQ(started(), Phase::running());
    EXPECT_THAT(m_phases, ElementsAre(Kind::Starting, Kind::Building, Kind::Starting, Kind::Running));
    EXPECT_EQ(home.read("built"), checkout.path().string() + "|--filter @driftwell/shared build\n");
}

TEST_F(LocalServerControllerTest, AFailedBuildSaysWhy) {
    checkout.buildWith(home.path(), "echo 'error TS2304: no such name' >&2; echo 'Exit status 2'; exit 2");
    EXPECT_EQ(started(),
              Phase::failed(QStringLiteral("couldn’t build @driftwell/shared — error TS2304: no such name")));
    EXPECT_EQ(checkout.server(), 0);
}

TEST_F(LocalServerControllerTest, WithoutTheToolTheBuildFails) {
    checkout.buildWith(home.path(), "");
    home.write(".zprofile", "PATH=/nowhere\n");
    const Phase phase = started();
    EXPECT_EQ(phase.kind, Kind::Failed);
    EXPECT_THAT(phase.text.toStdString(), HasSubstr("couldn’t build @driftwell/shared — "));
    EXPECT_THAT(phase.text.toStdString(), HasSubstr("pnpm"));
}

TEST_F(LocalServerControllerTest, ABuildThatCannotBeLaunchedHasNoOutput) {
    checkout.buildWith(home.path(), "");
    m_system.shells = {home / "zsh"};
    EXPECT_EQ(started(), Phase::failed(QStringLiteral("couldn’t build @driftwell/shared — no output")));
}

TEST_F(LocalServerControllerTest, SixtyPollsWithoutAnAnswerAreTheEnd) {
    int sleeps = 0;
    m_system.sleep = [&sleeps](std::chrono::milliseconds duration, std::stop_token stop) {
        EXPECT_EQ(duration, 500ms);
        ++sleeps;
        return noSleep(duration, std::move(stop));
    };
    checkout.serveWith("echo 'still thinking'; exec sleep 1000");
    await(server().start(checkout.path(), checkout.origin()));
    EXPECT_EQ(sleeps, 60);
    EXPECT_EQ(server().phase().kind, Kind::Failed);
    EXPECT_THAT(server().phase().text.toStdString(), HasSubstr("local server didn’t respond within 30s — "));
    waitUntil([this] { return server().phase().text.startsWith(exited); });
    waitForEnd(checkout.server());
}

TEST_F(LocalServerControllerTest, TwoQuickStartsAreOne) {
    Task<> first = server().start(checkout.path(), checkout.origin());
    await(server().start(checkout.path(), checkout.origin()));
    EXPECT_EQ(server().phase(), Phase::starting()) << "the second returned at once";
    await(std::move(first));
    EXPECT_THAT(m_phases, ElementsAre(Kind::Starting, Kind::Running));
}

TEST_F(LocalServerControllerTest, AFailedServerCanBeStartedAgain) {
    checkout.serveWith("exit 1");
    started();
    checkout.serveWithSandbox();
    EXPECT_EQ(started(), Phase::running());
}

TEST_F(LocalServerControllerTest, ANewAttemptHasItsOwnOutput) {
    checkout.serveWith("echo 'Error: the old one'; exit 1");
    started();
    checkout.serveWith("exit 1");
    EXPECT_EQ(started(), Phase::failed(exited + "no output"));
}

TEST_F(LocalServerControllerTest, ANewAttemptWaitsForTheEndOfTheLast) {
    bool isFirst = true;
    m_system.sleep = [&](std::chrono::milliseconds duration, std::stop_token stop) {
        return isFirst ? sleepUntilReady(&checkout, std::move(stop)) : sleepFor(duration, std::move(stop));
    };
    checkout.serveWith("trap '' TERM; echo old; echo > ready; while :; do sleep 0.1; done");
    started();
    const pid_t old = checkout.server();
    ASSERT_EQ(server().phase().kind, Kind::Failed);
    EXPECT_TRUE(isRunning(old));
    isFirst = false;
    checkout.serveWith("echo new; exit 1");
    EXPECT_EQ(started(), Phase::failed(exited + "new"));
    waitForEnd(old);
}

TEST_F(LocalServerControllerTest, AStartThatIsNeededWaitsFifteenSecondsAfterTheLast) {
    checkout.serveWith("exit 1");
    started();
    const std::size_t before = m_phases.size();
    m_now += 14s;
    server().startIfNeeded(checkout.path(), checkout.origin());
    settle();
    EXPECT_EQ(m_phases.size(), before);
    m_now += 1s;
    server().startIfNeeded(checkout.path(), checkout.origin());
    EXPECT_EQ(server().phase(), Phase::starting());
}

TEST_F(LocalServerControllerTest, TheFirstStartThatIsNeededComesAtOnce) {
    server().startIfNeeded(checkout.path(), checkout.origin());
    EXPECT_EQ(server().phase(), Phase::starting());
    waitUntil([this] { return server().phase() == Phase::running(); });
}

TEST_F(LocalServerControllerTest, ARunningServerNeedsNoStart) {
    started();
    m_now += 1h;
    m_phases.clear();
    server().startIfNeeded(checkout.path(), checkout.origin());
    await(server().start(checkout.path(), checkout.origin()));
    EXPECT_THAT(m_phases, testing::IsEmpty());
}

TEST_F(LocalServerControllerTest, ATakenServerThatGoesIsNotNoticed) {
    {
        PlatformServer other;
        other.answer("/api/sites", 200, "[]");
        await(server().start(checkout.path(), QStringLiteral("http://localhost:%1").arg(other.port())));
    }
    settle();
    EXPECT_EQ(server().phase(), Phase::running());
}

TEST_F(LocalServerControllerTest, AServerThatIsKilledHasExitedAndTheShellEnds) {
    ASSERT_EQ(started(), Phase::running());
    const pid_t shell = checkout.shell();
    ::kill(checkout.server(), SIGKILL);
    waitUntil([this] { return server().phase().text.startsWith(exited); });
    waitForEnd(shell);
}

TEST_F(LocalServerControllerTest, WhenTheShellIsKilledTheServerEndsWithinThreeSeconds) {
    ASSERT_EQ(started(), Phase::running());
    ::kill(checkout.shell(), SIGKILL);
    const auto killed = std::chrono::steady_clock::now();
    waitForEnd(checkout.server());
    EXPECT_LT(std::chrono::steady_clock::now() - killed, 3s);
    waitUntil([this] { return server().phase().text.startsWith(exited); });
}

TEST_F(LocalServerControllerTest, WhenTheShellIsKilledAlsoAServerThatDoesNotListenEnds) {
    m_system.sleep = [](std::chrono::milliseconds, std::stop_token stop) {
        return sleepFor(1h, std::move(stop));
    };
    checkout.serveWith("trap '' TERM; while :; do sleep 0.1; done");
    server().startIfNeeded(checkout.path(), checkout.origin());
    waitUntil([this] { return checkout.server() > 0 && isRunning(checkout.server()) && checkout.shell() > 0; });
    ::kill(checkout.shell(), SIGKILL);
    waitForEnd(checkout.server());
}

TEST_F(LocalServerControllerTest, WhenTheApplicationIsKilledItsServerEndsWithinThreeSeconds) {
    Invocation invocation;
    invocation.command = {SERVER_HOLDER, checkout.path(), checkout.origin().toStdString()};
    invocation.environment = {{"HOME", home.path()}, {"PATH", "/usr/bin:/bin"}};
    Program application(invocation);
    const std::string running = std::to_string(static_cast<int>(Kind::Running)) + "\n";
    application.waitUntil([&] { return application.soFar().output.ends_with(running); });
    const pid_t shell = checkout.shell();
    ASSERT_TRUE(isRunning(checkout.server()));
    application.signal(SIGKILL);
    application.waitForEnd();
    const auto killed = std::chrono::steady_clock::now();
    waitForEnd(checkout.server());
    EXPECT_LT(std::chrono::steady_clock::now() - killed, 3s);
    waitForEnd(shell);
}

TEST_F(LocalServerControllerTest, AtTheEndTheServerHasEnded) {
    ASSERT_EQ(started(), Phase::running());
    const pid_t shell = checkout.shell();
    await(server().end());
    waitForEnd(checkout.server());
    EXPECT_FALSE(isRunning(shell));
    EXPECT_EQ(server().phase(), Phase::running()) << "nobody is told of a failure that is none";
    m_server.reset();
}

TEST_F(LocalServerControllerTest, TheEndEndsAServerThatComesUp) {
    checkout.serveWith("exec sleep 1000");
    server().startIfNeeded(checkout.path(), checkout.origin());
    waitUntil([this] { return checkout.server() > 0; });
    await(server().end());
    waitForEnd(checkout.server());
    m_server.reset();
}

TEST_F(LocalServerControllerTest, TheEndEndsABuild) {
    checkout.buildWith(home.path(), "echo $$ > \"$HOME/build.pid\"; sleep 1000");
    server().startIfNeeded(checkout.path(), checkout.origin());
    waitUntil([this] { return !home.read("build.pid").empty(); });
    await(server().end());
    waitForEnd(static_cast<pid_t>(std::stol(home.read("build.pid"))));
    m_server.reset();
}

TEST_F(LocalServerControllerTest, AControllerThatGoesTakesItsServerAlong) {
    ASSERT_EQ(started(), Phase::running());
    m_server.reset();
    waitForEnd(checkout.server());
}

} // namespace
} // namespace driftwell::tests
