#include "support/ChildProcess.h"

#include "support/Cancellation.h"
#include "support/Completion.h"
#include "support/SystemError.h"
#include "support/UniqueFd.h"

#include <QSocketNotifier>
#include <QTimer>

#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <memory>
#include <system_error>

namespace driftwell {

namespace {

constexpr std::size_t readBlock = 64 * 1024;

/// The child's standard streams are put in place one after another, so none of what is still needed may lie there, as
/// it would in a program that was started with its own standard streams closed.
UniqueFd aboveStandardStreams(int fd) {
    UniqueFd opened(fd);
    if (fd > STDERR_FILENO) {
        return opened;
    }
    return UniqueFd(checked(::fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1), "could not duplicate a descriptor"));
}

struct Pipe {
    UniqueFd reader;
    UniqueFd writer;

    static Pipe make() {
        std::array<int, 2> ends{};
        checked(::pipe2(ends.data(), O_CLOEXEC), "pipe");
        UniqueFd reader(ends[0]);
        UniqueFd writer(ends[1]);
        return {aboveStandardStreams(reader.release()), aboveStandardStreams(writer.release())};
    }
};

/// What the child needs until it is another program. No memory may be allocated meanwhile.
struct ExecPlan {
    const char* program;
    const char* workingFolder;
    char* const* arguments;
    char* const* environment;
    int standardInput;
    int standardOutput;
    int standardError;
    int failureReport;
    /// Of a ReadConfinement, or -1.
    int confinement;
    pid_t parent;
    ChildProcess::ParentDeath parentDeath;
    ChildProcess::Session session;
};

/// No handler of this program's runs in the child.
void forgetSignalHandlers() {
    for (int signal = 1; signal < NSIG; ++signal) {
        struct sigaction action {};
        if (::sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN &&
            action.sa_handler != SIG_DFL) {
            ::signal(signal, SIG_DFL);
        }
    }
}

[[noreturn]] void execInChild(const ExecPlan& plan) {
    const auto attempt = [&plan] {
        if (plan.session == ChildProcess::Session::Own) {
            ::setsid();
        } else {
            ::setpgid(0, 0);
        }
        if (plan.parentDeath == ChildProcess::ParentDeath::Kills) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            if (::getppid() != plan.parent) {
                ::_exit(127); // the parent died before it could be watched
            }
        }
        forgetSignalHandlers();
        sigset_t none;
        ::sigemptyset(&none);
        ::sigprocmask(SIG_SETMASK, &none, nullptr);
        ::signal(SIGPIPE, SIG_DFL);
        if (::dup2(plan.standardInput, STDIN_FILENO) < 0 || ::dup2(plan.standardOutput, STDOUT_FILENO) < 0 ||
            ::dup2(plan.standardError, STDERR_FILENO) < 0) {
            return;
        }
        if (*plan.workingFolder != '\0' && ::chdir(plan.workingFolder) != 0) {
            return;
        }
        // Libraries open descriptors of their own, not always with O_CLOEXEC.
        ::close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
        if (plan.confinement >= 0 && !ReadConfinement::enter(plan.confinement)) {
            return;
        }
        ::execve(plan.program, plan.arguments, plan.environment);
    };
    attempt();
    const int reason = errno;
    [[maybe_unused]] const auto written = ::write(plan.failureReport, &reason, sizeof reason);
    ::_exit(127);
}

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
// The sanitizers keep notes on the stack of a thread, which the child would share.
pid_t startChild(const ExecPlan& plan) {
    const pid_t pid = ::fork();
    if (pid == 0) {
        execInChild(plan);
    }
    return pid;
}
#else
struct alignas(16) StackBlock {
    std::array<std::byte, 16> bytes;
};

int childMain(void* plan) {
    execInChild(*static_cast<const ExecPlan*>(plan));
}

/// As fork(), but the child works in this program's memory, on a stack of its own, and this thread waits until it has
/// become another program or ended (clone(2), CLONE_VFORK). A copy of the memory's tables takes as long as a small
/// program runs.
pid_t startChild(const ExecPlan& plan) {
    constexpr std::size_t stackSize = std::size_t{64} * 1024;
    const std::unique_ptr<StackBlock[]> stack(new StackBlock[stackSize / sizeof(StackBlock)]);
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    ExecPlan shared = plan;
    const pid_t pid =
        ::clone(childMain, stack.get() + stackSize / sizeof(StackBlock), CLONE_VM | CLONE_VFORK | SIGCHLD, &shared);
    const int reason = errno;
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    errno = reason;
    return pid;
}
#endif

/// Where SIGCHLD is ignored, as it may be since before this program began, the kernel forgets how a child ended
/// (waitpid(2)), and every failure would look like a success.
void keepHowChildrenEnd() {
    struct sigaction action {};
    ::sigaction(SIGCHLD, nullptr, &action);
    if (action.sa_handler == SIG_IGN || (action.sa_flags & SA_NOCLDWAIT) != 0) {
        ::signal(SIGCHLD, SIG_DFL);
    }
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        result.push_back(text.data());
    }
    result.push_back(nullptr);
    return result;
}

/// Gives 0 when exec succeeded (the pipe closed unwritten), otherwise the child's errno.
int execFailure(int reportReader) {
    int reason = 0;
    ssize_t got = 0;
    do {
        got = ::read(reportReader, &reason, sizeof reason);
    } while (got < 0 && errno == EINTR);
    return got == sizeof reason ? reason : 0;
}

} // namespace

/// A started child with its two outputs and its end, watched from the event loop.
class ChildProcess::Running {
public:
    Running(Command command, OutputReader reader);
    ~Running();
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

    /// Decided when the child has ended and both outputs are read to their end.
    [[nodiscard]] Completion<> ended() const { return m_ended; }

    void terminate();
    void kill();

    /// Once it has ended.
    [[nodiscard]] Result takeResult();

private:
    struct Channel {
        Output kind;
        UniqueFd reader = {};
        std::string text = {};
        std::unique_ptr<QSocketNotifier> readable = {};
    };

    void spawn(Command& command, int out, int err);
    void watch(Channel& channel);
    void read(Channel& channel);
    void finishIfDone();

    pid_t m_pid = -1;
    UniqueFd m_pidfd;
    std::chrono::milliseconds m_grace;
    Remainder m_remainder;
    OutputReader m_outputReader;
    Channel m_out{Output::Standard};
    Channel m_err{Output::Error};
    std::unique_ptr<QSocketNotifier> m_exit;
    QTimer m_kill;
    bool m_exited = false;
    bool m_terminating = false;
    bool m_killed = false;
    Completion<> m_ended;
};

ChildProcess::Running::Running(Command command, OutputReader reader)
    : m_grace(command.terminationGrace), m_remainder(command.remainder), m_outputReader(std::move(reader)) {
    Pipe out = Pipe::make();
    if (command.outputs == Outputs::Joined) {
        spawn(command, out.writer.get(), out.writer.get());
    } else {
        Pipe err = Pipe::make();
        spawn(command, out.writer.get(), err.writer.get());
        m_err.reader = std::move(err.reader);
    }
    m_out.reader = std::move(out.reader);

    m_exit = std::make_unique<QSocketNotifier>(m_pidfd.get(), QSocketNotifier::Read);
    QObject::connect(m_exit.get(), &QSocketNotifier::activated, m_exit.get(), [this] {
        m_exit->setEnabled(false);
        m_exited = true;
        if (m_remainder == Remainder::Terminated) {
            terminate();
        }
        finishIfDone();
    });
    m_kill.setSingleShot(true);
    QObject::connect(&m_kill, &QTimer::timeout, &m_kill, [this] { kill(); });
    watch(m_out);
    if (m_err.reader) {
        watch(m_err);
    }
}

ChildProcess::Running::~Running() {
    if (m_pid < 0) {
        return;
    }
    ::kill(-m_pid, SIGKILL);
    ::waitpid(m_pid, nullptr, 0);
}

void ChildProcess::Running::spawn(Command& command, int out, int err) {
    Pipe report = Pipe::make();
    const UniqueFd nothing = aboveStandardStreams(checked(::open("/dev/null", O_RDONLY | O_CLOEXEC), "/dev/null"));
    std::vector<std::string> argumentTexts{command.program};
    argumentTexts.insert(argumentTexts.end(), command.arguments.begin(), command.arguments.end());
    std::vector<std::string> environmentTexts = command.environment.entries();
    const std::vector<char*> arguments = pointers(argumentTexts);
    const std::vector<char*> environment = pointers(environmentTexts);
    const ExecPlan plan{command.program.c_str(),
                        command.workingFolder.c_str(),
                        arguments.data(),
                        environment.data(),
                        nothing.get(),
                        out,
                        err,
                        report.writer.get(),
                        command.confinement ? command.confinement->descriptor() : -1,
                        ::getpid(),
                        command.parentDeath,
                        command.session};

    keepHowChildrenEnd();
    const pid_t pid = checked(startChild(plan), "could not start a process");
    report.writer.reset();
    if (const int reason = execFailure(report.reader.get()); reason != 0) {
        ::waitpid(pid, nullptr, 0);
        throw std::system_error(reason, std::generic_category(), command.program);
    }
    m_pidfd = UniqueFd(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
    if (!m_pidfd) {
        const int reason = errno;
        ::kill(-pid, SIGKILL);
        ::waitpid(pid, nullptr, 0);
        throw std::system_error(reason, std::generic_category(), "pidfd_open");
    }
    m_pid = pid;
}

void ChildProcess::Running::watch(Channel& channel) {
    checked(::fcntl(channel.reader.get(), F_SETFL, O_NONBLOCK), "fcntl");
    channel.readable = std::make_unique<QSocketNotifier>(channel.reader.get(), QSocketNotifier::Read);
    QObject::connect(channel.readable.get(), &QSocketNotifier::activated, channel.readable.get(),
                     [this, &channel] { read(channel); });
}

void ChildProcess::Running::read(Channel& channel) {
    std::array<char, readBlock> block;
    const ssize_t got = ::read(channel.reader.get(), block.data(), block.size());
    if (got > 0) {
        const std::string_view piece(block.data(), static_cast<std::size_t>(got));
        if (m_outputReader) {
            m_outputReader(channel.kind, piece);
        } else {
            channel.text += piece;
        }
        return;
    }
    if (got < 0 && (errno == EINTR || errno == EAGAIN)) {
        return;
    }
    channel.readable->setEnabled(false);
    channel.reader.reset();
    finishIfDone();
}

void ChildProcess::Running::finishIfDone() {
    // What is left of a killed group ends without a word; only somebody outside it can still hold an output open.
    const bool outputsRead = m_killed || (!m_out.reader && !m_err.reader);
    if (m_exited && outputsRead) {
        m_kill.stop();
        m_ended.succeed();
    }
}

void ChildProcess::Running::terminate() {
    if (m_pid < 0 || m_terminating) {
        return;
    }
    m_terminating = true;
    ::kill(-m_pid, SIGTERM);
    m_kill.start(m_grace);
}

void ChildProcess::Running::kill() {
    if (m_pid >= 0) {
        ::kill(-m_pid, SIGKILL);
        m_killed = true;
        finishIfDone();
    }
}

ChildProcess::Result ChildProcess::Running::takeResult() {
    if (m_terminating) {
        // Some of the group may have closed its outputs and gone on. The group's number is taken until waitpid().
        ::kill(-m_pid, SIGKILL);
    }
    int status = 0;
    ::waitpid(m_pid, &status, 0);
    m_pid = -1;
    const bool signalled = WIFSIGNALED(status);
    return {signalled ? WTERMSIG(status) : WEXITSTATUS(status), signalled, std::move(m_out.text),
            std::move(m_err.text)};
}

ChildProcess::ChildProcess(Command command, OutputReader reader)
    : m_running(std::make_shared<Running>(std::move(command), std::move(reader))) {}

ChildProcess::~ChildProcess() {
    if (m_running) {
        m_running->kill();
    }
}

ChildProcess::ChildProcess(ChildProcess&&) noexcept = default;

ChildProcess& ChildProcess::operator=(ChildProcess&& other) noexcept {
    std::swap(m_running, other.m_running);
    return *this;
}

Task<ChildProcess::Result> ChildProcess::ended() {
    const std::shared_ptr<Running> running = m_running;
    co_await running->ended();
    co_return running->takeResult();
}

void ChildProcess::terminate() {
    m_running->terminate();
}

Task<ChildProcess::Result> ChildProcess::run(Command command, std::stop_token stop, OutputReader reader) {
    throwIfCancelled(stop);
    ChildProcess child(std::move(command), std::move(reader));
    const std::stop_callback terminate(stop, [weak = std::weak_ptr(child.m_running), loop = EventLoop::current()] {
        loop->post([weak] {
            if (const auto running = weak.lock()) {
                running->terminate();
            }
        });
    });
    Result result = co_await child.ended();
    throwIfCancelled(stop);
    co_return result;
}

} // namespace driftwell
