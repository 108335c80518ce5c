#include "tests/support/Program.h"

#include "support/SystemError.h"
#include "tests/Await.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <poll.h>
#include <pty.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace driftwell::tests {

namespace {

constexpr std::chrono::milliseconds glance(2);
constexpr int signalled = 128;

struct Ends {
    UniqueFd parent;
    UniqueFd child;
};

Ends readEnds() {
    std::array<int, 2> ends{};
    checked(::pipe2(ends.data(), O_CLOEXEC), "pipe");
    checked(::fcntl(ends[0], F_SETFL, O_NONBLOCK), "fcntl");
    return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

Ends terminalEnds(unsigned short columns) {
    const winsize size{.ws_row = 24, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
    int parent = -1;
    int child = -1;
    checked(::openpty(&parent, &child, nullptr, nullptr, &size), "openpty");
    checked(::fcntl(parent, F_SETFD, FD_CLOEXEC), "fcntl");
    checked(::fcntl(parent, F_SETFL, O_NONBLOCK), "fcntl");
    checked(::fcntl(child, F_SETFD, FD_CLOEXEC), "fcntl");
    return {UniqueFd(parent), UniqueFd(child)};
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (std::string& text : texts) {
        result.push_back(text.data());
    }
    result.push_back(nullptr);
    return result;
}

std::vector<std::string> entries(const std::map<std::string, std::string>& environment) {
    std::vector<std::string> result;
    for (const auto& [name, value] : environment) {
        result.push_back(name + '=' + value);
    }
    for (const char* name : {"ASAN_OPTIONS", "LSAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS"}) {
        if (const char* value = std::getenv(name)) {
            result.push_back(std::string(name) + '=' + value);
        }
    }
    return result;
}

/// What the child needs between fork and exec, where no memory may be allocated. -1 stands for no descriptor.
struct ExecPlan {
    char* const* arguments;
    char* const* environment;
    const char* folder;
    int input;
    int output;
    int error;
    int terminal;
};

int inputFor(Invocation::Input input, const UniqueFd& nothing, const UniqueFd& pipe) {
    switch (input) {
    case Invocation::Input::Empty:
        return nothing.get();
    case Invocation::Input::Closed:
        return -1;
    case Invocation::Input::Open:
        return pipe.get();
    }
    throw std::logic_error("no such input");
}

int outputFor(Invocation::Output output, const UniqueFd& pipe, const UniqueFd& full) {
    switch (output) {
    case Invocation::Output::Pipe:
    case Invocation::Output::Unread:
        return pipe.get();
    case Invocation::Output::Closed:
        return -1;
    case Invocation::Output::Full:
        return full.get();
    }
    throw std::logic_error("no such output");
}

void placeDescriptor(int from, int to) {
    if (from < 0) {
        ::close(to);
    } else {
        ::dup2(from, to);
    }
}

[[noreturn]] void execInChild(const ExecPlan& plan) {
    ::setsid();
    if (plan.terminal >= 0) {
        ::ioctl(plan.terminal, TIOCSCTTY, 0);
    }
    // A superuser reads every file; the tests are about ordinary people.
    ::prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE, 0, 0, 0);
    ::prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH, 0, 0, 0);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
        ::signal(number, SIG_DFL);
    }
    placeDescriptor(plan.input, STDIN_FILENO);
    placeDescriptor(plan.output, STDOUT_FILENO);
    placeDescriptor(plan.error, STDERR_FILENO);
    if (::chdir(plan.folder) == 0) {
        ::execve(plan.arguments[0], plan.arguments, plan.environment);
    }
    ::_exit(127);
}

} // namespace

Program::Program(const Invocation& invocation) {
    const bool onTerminal = invocation.terminal != Invocation::Terminal::None;
    Ends output = readEnds();
    Ends error = readEnds();
    Ends input = readEnds();
    std::swap(input.parent, input.child);
    Ends terminal = onTerminal ? terminalEnds(invocation.columns) : Ends();
    const UniqueFd nothing(checked(::open("/dev/null", O_RDONLY | O_CLOEXEC), "/dev/null"));
    const UniqueFd full(checked(::open("/dev/full", O_WRONLY | O_CLOEXEC), "/dev/full"));

    std::vector<std::string> argumentTexts = invocation.command;
    std::vector<std::string> environmentTexts = entries(invocation.environment);
    const std::vector<char*> arguments = pointers(argumentTexts);
    const std::vector<char*> environment = pointers(environmentTexts);
    ExecPlan plan{arguments.data(),   environment.data(), invocation.folder.c_str(), nothing.get(),
                  output.child.get(), error.child.get(),  terminal.child.get()};
    if (onTerminal) {
        plan.input = terminal.child.get();
        plan.error = terminal.child.get();
        plan.output = invocation.terminal == Invocation::Terminal::All ? terminal.child.get() : plan.output;
    } else {
        plan.input = inputFor(invocation.input, nothing, input.child);
        plan.output = outputFor(invocation.output, output.child, full);
    }
    if (invocation.output == Invocation::Output::Unread) {
        output.parent.reset();
    }

    m_pid = checked(::fork(), "fork");
    if (m_pid == 0) {
        execInChild(plan);
    }
    m_pidfd = UniqueFd(static_cast<int>(checked(::syscall(SYS_pidfd_open, m_pid, 0), "pidfd_open")));
    m_output = std::move(output.parent);
    m_error = std::move(error.parent);
    m_input = std::move(input.parent);
    m_terminal = std::move(terminal.parent);
}

Program::~Program() {
    if (!m_exited) {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
}

void Program::signal(int number) const {
    checked(::kill(m_pid, number), "kill");
}

void Program::type(const std::string& keys) const {
    checked(::write(m_terminal.get(), keys.data(), keys.size()), "the terminal");
}

bool Program::showsTyping() const {
    termios attributes{};
    checked(::tcgetattr(m_terminal.get(), &attributes), "the terminal");
    return (attributes.c_lflag & ECHO) != 0;
}

bool Program::isStopped() const {
    std::ifstream file("/proc/" + std::to_string(m_pid) + "/stat");
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    // The name before it may hold anything.
    const std::size_t name = text.rfind(')');
    return name != std::string::npos && text.compare(name, 3, ") T") == 0;
}

void Program::waitUntil(const std::function<bool()>& condition) {
    const Clock::time_point end = Clock::now() + deadline;
    while (!condition()) {
        if (m_exited) {
            throw std::runtime_error("the program ended first, with " + std::to_string(m_ending.exitCode) + ": " +
                                     m_ending.output + m_ending.error + m_ending.terminal);
        }
        if (Clock::now() > end) {
            throw std::runtime_error("the condition did not come to hold in time: " + m_ending.output + m_ending.error +
                                     m_ending.terminal);
        }
        pump(glance);
    }
}

Ending Program::waitForEnd() {
    const Clock::time_point end = Clock::now() + deadline;
    while (!m_exited) {
        if (Clock::now() > end) {
            throw std::runtime_error("the program did not end in time: " + m_ending.output + m_ending.error +
                                     m_ending.terminal);
        }
        pump(std::chrono::milliseconds(100));
    }
    return m_ending;
}

void Program::pump(std::chrono::milliseconds time) {
    std::array<pollfd, 4> watched{{{.fd = m_pidfd.get(), .events = POLLIN, .revents = 0},
                                   {.fd = m_output.get(), .events = POLLIN, .revents = 0},
                                   {.fd = m_error.get(), .events = POLLIN, .revents = 0},
                                   {.fd = m_terminal.get(), .events = POLLIN, .revents = 0}}};
    ::poll(watched.data(), watched.size(), static_cast<int>(time.count()));
    // Looked at before the reading, so that nothing said before the end is missed.
    const bool exited = watched[0].revents != 0;
    drain(m_output, m_ending.output);
    drain(m_error, m_ending.error);
    drain(m_terminal, m_ending.terminal);
    if (exited) {
        int status = 0;
        checked(::waitpid(m_pid, &status, 0), "waitpid");
        m_ending.exitCode = WIFSIGNALED(status) ? signalled + WTERMSIG(status) : WEXITSTATUS(status);
        m_exited = true;
    }
}

void Program::drain(UniqueFd& from, std::string& into) {
    std::array<char, 64 * 1024> block;
    while (from) {
        const ssize_t got = ::read(from.get(), block.data(), block.size());
        if (got > 0) {
            into.append(block.data(), static_cast<std::size_t>(got));
        } else if (got < 0 && errno == EAGAIN) {
            return;
        } else if (got == 0 || errno != EINTR) {
            from.reset();
        }
    }
}

} // namespace driftwell::tests
