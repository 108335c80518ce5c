#include "support/ChildProcess.h"

#include "support/Cancellation.h"
#include "support/UniqueFd.h"
#include "tests/Await.h"
#include "tests/support/TestFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <system_error>
#include <thread>
#include <vector>

namespace driftwell {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using tests::await;
using tests::TestFolder;
using tests::waitUntil;

ChildProcess::Command command(std::string program, std::vector<std::string> arguments = {}) {
    return {std::move(program), std::move(arguments), ProcessEnvironment::inherited()};
}

ChildProcess::Command shell(std::string script, std::vector<std::string> arguments = {}) {
    arguments.insert(arguments.begin(), {"-c", std::move(script), "sh"});
    return command("/bin/sh", std::move(arguments));
}

ChildProcess::Result run(ChildProcess::Command command) {
    return await(ChildProcess::run(std::move(command), {}));
}

std::ptrdiff_t openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// Changes what this program does about a signal until the end of the scope.
class ScopedSignal {
public:
    ScopedSignal(int signal, sighandler_t disposition) : m_signal(signal), m_before(::signal(signal, disposition)) {}
    ~ScopedSignal() { ::signal(m_signal, m_before); }
    ScopedSignal(const ScopedSignal&) = delete;
    ScopedSignal& operator=(const ScopedSignal&) = delete;

private:
    int m_signal;
    sighandler_t m_before;
};

/// A process that is not ours to wait for.
class Stranger {
public:
    explicit Stranger(pid_t pid) : m_pid(pid), m_fd(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0))) {}

    [[nodiscard]] bool hasEnded() const {
        if (!m_fd) {
            return true;
        }
        pollfd ended{m_fd.get(), POLLIN, 0};
        return ::poll(&ended, 1, 0) == 1;
    }
    void kill() const { ::kill(m_pid, SIGKILL); }

private:
    pid_t m_pid;
    UniqueFd m_fd;
};

/// Scripts write their process ids to files here, each as one line.
class PidFolder : public TestFolder {
public:
    Stranger waitFor(const std::string& name) const {
        waitUntil([&] { return read(name).ends_with('\n'); });
        return Stranger(std::stoi(read(name)));
    }
    [[nodiscard]] std::string file(std::string_view name) const { return (*this / name).string(); }
};

// How a child ends

TEST(ChildProcessTest, GivesTheExitStatus) {
    for (const int status : {0, 1, 42, 255}) {
        const ChildProcess::Result result = run(shell("exit \"$1\"", {std::to_string(status)}));
        EXPECT_EQ(result.status, status);
        EXPECT_FALSE(result.endedBySignal);
        EXPECT_EQ(result.succeeded(), status == 0);
    }
}

TEST(ChildProcessTest, GivesTheSignalThatEndedTheChild) {
    for (const int signal : {SIGTERM, SIGKILL, SIGINT}) {
        const ChildProcess::Result result = run(shell("kill -$1 $$", {std::to_string(signal)}));
        EXPECT_EQ(result.status, signal);
        EXPECT_TRUE(result.endedBySignal);
        EXPECT_FALSE(result.succeeded());
    }
}

TEST(ChildProcessTest, GivesTheExitStatusAlsoWhereEndedChildrenAreIgnored) {
    // Inherited from whoever started this program; the kernel then forgets how a child ended.
    const ScopedSignal ignored(SIGCHLD, SIG_IGN);
    EXPECT_EQ(run(shell("exit 3")).status, 3);
    EXPECT_EQ(run(shell("sh -c 'exit 4' & wait $!")).status, 4);
}

TEST(ChildProcessTest, ThrowsAtOnceForAProgramThatIsNotThere) {
    Task<ChildProcess::Result> task = ChildProcess::run(command("/usr/bin/no-such-program"), {});
    EXPECT_TRUE(task.isReady());
    try {
        [[maybe_unused]] const auto result = await(std::move(task));
        FAIL() << "did not throw";
    } catch (const std::system_error& failure) {
        EXPECT_EQ(failure.code(), std::errc::no_such_file_or_directory);
        EXPECT_THAT(failure.what(), HasSubstr("/usr/bin/no-such-program"));
    }
}

TEST(ChildProcessTest, ThrowsForAFileThatIsNoProgram) {
    const TestFolder folder;
    folder.write("plain", "text");
    try {
        run(command(folder / "plain"));
        FAIL() << "did not throw";
    } catch (const std::system_error& failure) {
        EXPECT_EQ(failure.code(), std::errc::permission_denied);
    }
    EXPECT_THROW(run(command(folder.path())), std::system_error);
    EXPECT_THROW(run(command("")), std::system_error);
}

TEST(ChildProcessTest, DoesNotLookForAProgramInThePath) {
    EXPECT_THROW(run(command("true")), std::system_error);
}

TEST(ChildProcessTest, ThrowsForAWorkingFolderThatIsNotThere) {
    ChildProcess::Command elsewhere = command("/bin/true");
    elsewhere.workingFolder = "/no-such-folder";
    try {
        run(elsewhere);
        FAIL() << "did not throw";
    } catch (const std::system_error& failure) {
        EXPECT_EQ(failure.code(), std::errc::no_such_file_or_directory);
    }
}

// What a child is given

TEST(ChildProcessTest, PassesArgumentsByteForByteAndThroughNoShell) {
    const std::vector<std::string> arguments = {
        "",        " ",    "a b",          "$HOME", "`id`", "$(id)",       ";exit 1", "'\"\\", "*",     "~",
        "line\n2", "\xE9", "\xFF\xFE\x80", "-n",    "--",   "caf\u00e9 😀", "a\tb\rc", "\x01",  "| cat", "> /x"};
    const ChildProcess::Result result = run(shell(R"(for argument; do printf '%s\0' "$argument"; done)", arguments));
    std::string expected;
    for (const std::string& argument : arguments) {
        expected += argument;
        expected += '\0';
    }
    EXPECT_EQ(result.standardOutput, expected);
}

TEST(ChildProcessTest, GivesTheProgramsPathAsItsFirstArgument) {
    EXPECT_EQ(run(command("/bin/sh", {"-c", "echo $0"})).standardOutput, "/bin/sh\n");
}

TEST(ChildProcessTest, GivesExactlyTheEnvironmentItWasTold) {
    ChildProcess::Command printer{"/usr/bin/env", {"-0"}, {}};
    EXPECT_EQ(run(printer).standardOutput, "");
    printer.environment.set("B", "with space, = and \n line feed");
    printer.environment.set("A", "\xE9\xFF");
    printer.environment.set("EMPTY", "");
    EXPECT_EQ(run(printer).standardOutput, std::string("A=\xE9\xFF\0B=with space, = and \n line feed\0EMPTY=\0", 44));
}

TEST(ChildProcessTest, RunsInTheWorkingFolder) {
    const TestFolder folder;
    std::filesystem::create_directory(folder / "caf\xE9");
    ChildProcess::Command inFolder = command("/bin/pwd");
    inFolder.workingFolder = folder / "caf\xE9";
    EXPECT_EQ(run(inFolder).standardOutput, std::filesystem::canonical(inFolder.workingFolder).string() + "\n");
    EXPECT_EQ(run(command("/bin/pwd")).standardOutput, std::filesystem::current_path().string() + "\n");
}

TEST(ChildProcessTest, ReadsNothing) {
    const ChildProcess::Result result = run(shell("cat; readlink /proc/self/fd/0"));
    EXPECT_EQ(result.standardOutput, "/dev/null\n");
}

TEST(ChildProcessTest, LeaksNoDescriptorIntoTheChild) {
    // One that was opened without O_CLOEXEC, as a library may.
    const UniqueFd leaky(::open("/dev/null", O_RDONLY));
    ASSERT_TRUE(leaky);
    const ChildProcess::Result result = run(command("/bin/ls", {"/proc/self/fd"}));
    // The last one is the listing itself.
    EXPECT_THAT(lines(result.standardOutput), ElementsAre("0", "1", "2", "3"));
}

TEST(ChildProcessTest, GivesTheChildTheDefaultOfABrokenPipeAndNoBlockedSignals) {
    const ScopedSignal ignored(SIGPIPE, SIG_IGN);
    sigset_t blocked;
    sigset_t old;
    ::sigemptyset(&blocked);
    ::sigaddset(&blocked, SIGTERM);
    ::sigprocmask(SIG_BLOCK, &blocked, &old);
    const ChildProcess::Result result = run(command("/bin/grep", {"-E", "^Sig(Blk|Ign)", "/proc/self/status"}));
    ::sigprocmask(SIG_SETMASK, &old, nullptr);
    const std::vector<std::string> masks = lines(result.standardOutput);
    ASSERT_EQ(masks.size(), 2U);
    EXPECT_EQ(masks[0], "SigBlk:\t0000000000000000");
    EXPECT_EQ(std::stoull(masks[1].substr(8), nullptr, 16) >> (SIGPIPE - 1) & 1U, 0U) << masks[1];
}

TEST(ChildProcessTest, RunsInAProcessGroupOfItsOwn) {
    const ChildProcess::Result result =
        run(command("/bin/sh", {"-c", "echo $$; ps -o pgid= -p $$ || cut -d' ' -f5 /proc/$$/stat"}));
    const std::vector<std::string> ids = lines(result.standardOutput);
    ASSERT_EQ(ids.size(), 2U);
    EXPECT_EQ(std::stoi(ids[0]), std::stoi(ids[1]));
    EXPECT_NE(std::stoi(ids[1]), ::getpgrp());
}

// What a child writes

constexpr std::size_t muchMoreThanAPipeHolds = 3'000'000;

TEST(ChildProcessTest, ReadsBothOutputsAtOnceWhateverTheirSize) {
    // Each order would block for ever if one output were read after the other.
    for (const char* script :
         {"head -c $1 /dev/zero; head -c $1 /dev/zero >&2", "head -c $1 /dev/zero >&2; head -c $1 /dev/zero",
          "head -c $1 /dev/zero >&2 & head -c $1 /dev/zero; wait"}) {
        const ChildProcess::Result result = run(shell(script, {std::to_string(muchMoreThanAPipeHolds)}));
        EXPECT_TRUE(result.succeeded());
        EXPECT_EQ(result.standardOutput, std::string(muchMoreThanAPipeHolds, '\0'));
        EXPECT_EQ(result.standardError, std::string(muchMoreThanAPipeHolds, '\0'));
    }
}

TEST(ChildProcessTest, KeepsTheOutputsApart) {
    const ChildProcess::Result result = run(shell("echo out; echo err >&2; echo out again"));
    EXPECT_EQ(result.standardOutput, "out\nout again\n");
    EXPECT_EQ(result.standardError, "err\n");
}

TEST(ChildProcessTest, KeepsBytesThatAreNotUtf8) {
    const ChildProcess::Result result = run(shell(R"(printf '\377\376\000\200caf\351\n'; printf '\355\240\200' >&2)"));
    EXPECT_EQ(result.standardOutput, std::string("\xFF\xFE\0\x80"
                                                 "caf\xE9\n",
                                                 9));
    EXPECT_EQ(result.standardError, "\xED\xA0\x80");
}

TEST(ChildProcessTest, GivesWhatAFailingChildWrote) {
    const ChildProcess::Result result = run(shell("echo out; echo err >&2; kill -9 $$"));
    EXPECT_TRUE(result.endedBySignal);
    EXPECT_EQ(result.standardOutput, "out\n");
    EXPECT_EQ(result.standardError, "err\n");
}

TEST(ChildProcessTest, ReadsToTheEndWhatAGrandchildWritesAfterTheChildHasEnded) {
    const PidFolder folder;
    ASSERT_EQ(::mkfifo(folder.file("fifo").c_str(), 0600), 0);
    const UniqueFd writer(::open(folder.file("fifo").c_str(), O_RDWR | O_CLOEXEC));
    Task<ChildProcess::Result> task = ChildProcess::run(
        shell("(read line < $1; echo late) & echo early; echo $$ > $2", {folder.file("fifo"), folder.file("child")}),
        {});
    const Stranger child = folder.waitFor("child");
    waitUntil([&child] { return child.hasEnded(); });
    tests::settle();
    EXPECT_FALSE(task.isReady());
    ASSERT_EQ(::write(writer.get(), "go\n", 3), 3);
    EXPECT_EQ(await(std::move(task)).standardOutput, "early\nlate\n");
}

TEST(ChildProcessTest, EndsForAChildThatClosesItsOutputsAndGoesOn) {
    const PidFolder folder;
    ASSERT_EQ(::mkfifo(folder.file("fifo").c_str(), 0600), 0);
    const UniqueFd writer(::open(folder.file("fifo").c_str(), O_RDWR | O_CLOEXEC));
    Task<ChildProcess::Result> task =
        ChildProcess::run(shell("exec >&- 2>&-; read line < \"$1\"; exit 9", {folder.file("fifo")}), {});
    tests::settle();
    EXPECT_FALSE(task.isReady());
    ASSERT_EQ(::write(writer.get(), "go\n", 3), 3);
    EXPECT_EQ(await(std::move(task)).status, 9);
}

TEST(ChildProcessTest, RunsManyAtOnce) {
    std::vector<Task<ChildProcess::Result>> tasks;
    for (int i = 0; i < 30; ++i) {
        tasks.push_back(ChildProcess::run(shell("echo $1; exit $1", {std::to_string(i)}), {}));
    }
    for (int i = 0; i < 30; ++i) {
        const ChildProcess::Result result = await(std::move(tasks[static_cast<std::size_t>(i)]));
        EXPECT_EQ(result.status, i);
        EXPECT_EQ(result.standardOutput, std::to_string(i) + "\n");
    }
}

TEST(ChildProcessTest, LeavesNoZombieAndNoDescriptor) {
    run(command("/bin/true"));
    const auto before = openDescriptors();
    run(command("/bin/true"));
    EXPECT_THROW(run(command("/no-such-program")), std::system_error);
    std::stop_source stop;
    Task<ChildProcess::Result> stopped = ChildProcess::run(command("/bin/sleep", {"1000"}), stop.get_token());
    stop.request_stop();
    EXPECT_THROW(await(std::move(stopped)), Cancelled);
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
    EXPECT_EQ(errno, ECHILD);
}

// Stopping

TEST(ChildProcessTest, DoesNotStartWhenTheStopCameBefore) {
    const TestFolder folder;
    std::stop_source stop;
    stop.request_stop();
    EXPECT_THROW(await(ChildProcess::run(command("/usr/bin/touch", {folder / "made"}), stop.get_token())), Cancelled);
    EXPECT_FALSE(std::filesystem::exists(folder / "made"));
}

TEST(ChildProcessTest, TerminatesTheWholeProcessGroupWhenStopped) {
    const PidFolder folder;
    std::stop_source stop;
    Task<ChildProcess::Result> task = ChildProcess::run(
        shell("sleep 1000 & echo $! > $1; echo $$ > $2; wait", {folder.file("grandchild"), folder.file("child")}),
        stop.get_token());
    const Stranger grandchild = folder.waitFor("grandchild");
    const Stranger child = folder.waitFor("child");
    EXPECT_FALSE(grandchild.hasEnded());
    stop.request_stop();
    EXPECT_THROW(await(std::move(task)), Cancelled);
    EXPECT_TRUE(child.hasEnded());
    waitUntil([&] { return grandchild.hasEnded(); });
}

TEST(ChildProcessTest, LetsAChildPutThingsInOrderWhenStopped) {
    const PidFolder folder;
    std::stop_source stop;
    Task<ChildProcess::Result> task =
        ChildProcess::run(shell("trap 'echo tidy > $2; exit 0' TERM; echo $$ > $1; while :; do sleep 0.01; done",
                                {folder.file("child"), folder.file("tidied")}),
                          stop.get_token());
    folder.waitFor("child");
    stop.request_stop();
    EXPECT_THROW(await(std::move(task)), Cancelled);
    EXPECT_EQ(folder.read("tidied"), "tidy\n");
}

TEST(ChildProcessTest, KillsAChildThatIgnoresItsTermination) {
    const PidFolder folder;
    std::stop_source stop;
    ChildProcess::Command stubborn =
        shell("trap '' TERM; echo $$ > $1; while :; do sleep 1000; done", {folder.file("child")});
    stubborn.terminationGrace = 100ms;
    Task<ChildProcess::Result> task = ChildProcess::run(stubborn, stop.get_token());
    const Stranger child = folder.waitFor("child");
    stop.request_stop();
    EXPECT_THROW(await(std::move(task)), Cancelled);
    EXPECT_TRUE(child.hasEnded());
}

TEST(ChildProcessTest, DoesNotKillAChildBeforeTheGraceIsOver) {
    const PidFolder folder;
    std::stop_source stop;
    ChildProcess::Command slow = shell("trap 'echo told > $2' TERM; echo $$ > $1; while :; do sleep 0.01; done",
                                       {folder.file("child"), folder.file("told")});
    slow.terminationGrace = 24h;
    Task<ChildProcess::Result> task = ChildProcess::run(slow, stop.get_token());
    const Stranger child = folder.waitFor("child");
    stop.request_stop();
    waitUntil([&folder] { return folder.read("told") == "told\n"; });
    tests::settle();
    EXPECT_FALSE(task.isReady());
    EXPECT_FALSE(child.hasEnded());
    child.kill();
    EXPECT_THROW(await(std::move(task)), Cancelled);
}

TEST(ChildProcessTest, GivesAChildTwoSecondsToTerminate) {
    EXPECT_EQ(command("/bin/true").terminationGrace, 2s);
}

TEST(ChildProcessTest, KillsAGrandchildThatIgnoresItsTermination) {
    const PidFolder folder;
    std::stop_source stop;
    ChildProcess::Command parent = shell(
        "(trap '' TERM; sh -c 'echo $$ > $1; while :; do sleep 1000; done' sh $1) & wait", {folder.file("grandchild")});
    parent.terminationGrace = 100ms;
    Task<ChildProcess::Result> task = ChildProcess::run(parent, stop.get_token());
    const Stranger grandchild = folder.waitFor("grandchild");
    stop.request_stop();
    EXPECT_THROW(await(std::move(task)), Cancelled);
    waitUntil([&] { return grandchild.hasEnded(); });
}

TEST(ChildProcessTest, KillsAGrandchildThatIgnoresItsTerminationAndClosedItsOutputs) {
    const PidFolder folder;
    std::stop_source stop;
    Task<ChildProcess::Result> task = ChildProcess::run(shell("(trap '' TERM; exec sh -c 'exec > /dev/null 2>&1; echo "
                                                              "$$ > $1; while :; do sleep 1000; done' sh $1) & wait",
                                                              {folder.file("grandchild")}),
                                                        stop.get_token());
    const Stranger grandchild = folder.waitFor("grandchild");
    stop.request_stop();
    EXPECT_THROW(await(std::move(task)), Cancelled);
    waitUntil([&] { return grandchild.hasEnded(); });
}

TEST(ChildProcessTest, EndsWhenStoppedAlthoughSomebodyOutsideTheGroupHoldsItsOutputs) {
    const PidFolder folder;
    std::stop_source stop;
    ChildProcess::Command parent =
        shell("setsid sh -c 'echo $$ > $1; exec sleep 1000' sh $1 & wait", {folder.file("outsider")});
    parent.terminationGrace = 100ms;
    Task<ChildProcess::Result> task = ChildProcess::run(parent, stop.get_token());
    const Stranger outsider = folder.waitFor("outsider");
    stop.request_stop();
    EXPECT_THROW(await(std::move(task)), Cancelled);
    EXPECT_FALSE(outsider.hasEnded());
    outsider.kill();
}

TEST(ChildProcessTest, StopsAChildThatWritesWithoutEnd) {
    std::stop_source stop;
    Task<ChildProcess::Result> task = ChildProcess::run(command("/usr/bin/yes"), stop.get_token());
    tests::settle();
    stop.request_stop();
    EXPECT_THROW(await(std::move(task)), Cancelled);
}

TEST(ChildProcessTest, StopsOnlyTheChildrenOfItsStop) {
    const PidFolder folder;
    std::stop_source stop;
    Task<ChildProcess::Result> stopped = ChildProcess::run(command("/bin/sleep", {"1000"}), stop.get_token());
    ASSERT_EQ(::mkfifo(folder.file("fifo").c_str(), 0600), 0);
    const UniqueFd writer(::open(folder.file("fifo").c_str(), O_RDWR | O_CLOEXEC));
    Task<ChildProcess::Result> other = ChildProcess::run(shell("read line < $1; exit 5", {folder.file("fifo")}), {});
    stop.request_stop();
    EXPECT_THROW(await(std::move(stopped)), Cancelled);
    EXPECT_FALSE(other.isReady());
    ASSERT_EQ(::write(writer.get(), "go\n", 3), 3);
    EXPECT_EQ(await(std::move(other)).status, 5);
}

TEST(ChildProcessTest, IsStoppedFromAnotherThread) {
    std::stop_source stop;
    Task<ChildProcess::Result> task = ChildProcess::run(command("/bin/sleep", {"1000"}), stop.get_token());
    std::jthread other([&stop] { stop.request_stop(); });
    EXPECT_THROW(await(std::move(task)), Cancelled);
}

// The object

TEST(ChildProcessTest, GivesItsOutputAsItComes) {
    const PidFolder folder;
    ASSERT_EQ(::mkfifo(folder.file("fifo").c_str(), 0600), 0);
    const UniqueFd writer(::open(folder.file("fifo").c_str(), O_RDWR | O_CLOEXEC));
    std::string out;
    std::string err;
    ChildProcess child(shell("echo one; echo two >&2; read line < $1; echo $line", {folder.file("fifo")}),
                       [&](ChildProcess::Output output, std::string_view piece) {
                           (output == ChildProcess::Output::Standard ? out : err) += piece;
                       });
    waitUntil([&] { return out == "one\n" && err == "two\n"; });
    ASSERT_EQ(::write(writer.get(), "three\n", 6), 6);
    const ChildProcess::Result result = await(child.ended());
    EXPECT_TRUE(result.succeeded());
    EXPECT_EQ(out, "one\nthree\n");
    EXPECT_EQ(result.standardOutput, "");
}

TEST(ChildProcessTest, TerminatesItsGroupAndSaysWithWhichSignal) {
    const PidFolder folder;
    ChildProcess child(shell("sleep 1000 & echo $! > $1; wait", {folder.file("grandchild")}));
    const Stranger grandchild = folder.waitFor("grandchild");
    Task<ChildProcess::Result> ended = child.ended();
    child.terminate();
    child.terminate();
    const ChildProcess::Result result = await(std::move(ended));
    EXPECT_TRUE(result.endedBySignal);
    EXPECT_EQ(result.status, SIGTERM);
    waitUntil([&] { return grandchild.hasEnded(); });
    EXPECT_NO_THROW(child.terminate()) << "when it has ended";
}

TEST(ChildProcessTest, KillsItsGroupWhenItGoes) {
    const PidFolder folder;
    std::optional<ChildProcess> child(shell("sleep 1000 & echo $! > $1; wait", {folder.file("grandchild")}));
    const Stranger grandchild = folder.waitFor("grandchild");
    Task<ChildProcess::Result> ended = child->ended();
    child.reset();
    EXPECT_EQ(await(std::move(ended)).status, SIGKILL);
    waitUntil([&] { return grandchild.hasEnded(); });
}

TEST(ChildProcessTest, KillsItsGroupWhenItGoesAndNobodyWaits) {
    const PidFolder folder;
    std::optional<ChildProcess> child(shell("sleep 1000 & echo $! > $1; wait", {folder.file("grandchild")}));
    const Stranger grandchild = folder.waitFor("grandchild");
    child.reset();
    waitUntil([&] { return grandchild.hasEnded(); });
}

// The child and this program; ChildHolder is one that can be killed

TEST(ChildProcessTest, DiesWithTheProgramThatStartedIt) {
    const PidFolder folder;
    Task<ChildProcess::Result> holder =
        ChildProcess::run(command(CHILD_HOLDER, {"hold", folder.file("holder"), folder.file("child")}), {});
    const Stranger program = folder.waitFor("holder");
    const Stranger child = folder.waitFor("child");
    EXPECT_FALSE(child.hasEnded());
    program.kill();
    waitUntil([&] { return child.hasEnded(); });
    EXPECT_EQ(await(std::move(holder)).status, SIGKILL);
}

TEST(ChildProcessTest, LeavesTheSignalsOfTheProgramThatStartsItAsTheyWere) {
    sigset_t some;
    ::sigemptyset(&some);
    ::sigaddset(&some, SIGUSR2);
    sigset_t before;
    ::pthread_sigmask(SIG_SETMASK, &some, &before);
    const auto handler = ::signal(SIGUSR1, [](int) {});
    const ChildProcess::Result result = run(command("/bin/cat", {"/proc/self/status"}));
    EXPECT_THROW(run(command("/no/such/program", {})), std::system_error);
    sigset_t after;
    ::pthread_sigmask(SIG_SETMASK, &before, &after);
    EXPECT_NE(::signal(SIGUSR1, handler), SIG_DFL);
    EXPECT_EQ(::sigismember(&after, SIGUSR2), 1);
    EXPECT_EQ(::sigismember(&after, SIGUSR1), 0);
    EXPECT_THAT(result.standardOutput, HasSubstr("\nSigBlk:\t0000000000000000\n"));
    EXPECT_THAT(result.standardOutput, HasSubstr("\nSigCgt:\t0000000000000000\n"));
}

TEST(ChildProcessTest, RunsAChildFromAProgramWithoutStandardStreams) {
    const TestFolder folder;
    const ChildProcess::Result result = run(command(CHILD_HOLDER, {"without-streams", (folder / "report").string()}));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(folder.read("report"), "status 0\nout\nerr\nmissing: No such file or directory\n");
}

} // namespace
} // namespace driftwell
