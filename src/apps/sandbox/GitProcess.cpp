#include "apps/sandbox/GitProcess.h"

#include "apps/sandbox/HttpError.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <utility>

namespace driftwell::sandbox {

namespace {

constexpr const char* program = "/usr/bin/git";
constexpr size_t bufferSize = 256 * 1024;
constexpr size_t longestComplaint = 16 * 1024;
constexpr size_t longestOutput = size_t{128} * 1024 * 1024;

[[noreturn]] void throwSystem(int reason, const char* what) {
    throw std::system_error(reason, std::generic_category(), what);
}

/// The settings that hold for every run, above those in files (git-config(1), GIT_CONFIG_COUNT).
constexpr std::array<std::pair<const char*, const char*>, 9> settings = {{
    {"safe.directory", "*"},
    {"http.receivepack", "true"},
    {"receive.denyNonFastForwards", "true"},
    {"receive.denyDeletes", "true"},
    {"receive.fsckObjects", "true"},
    // Only what is on the branch is anybody's business.
    {"transfer.hideRefs", "refs/driftwell"},
    // What is tidied up is tidied up before the push ends, so that nothing works on behind its back.
    {"gc.autoDetach", "false"},
    {"receive.autogc", "false"},
    {"core.quotePath", "false"},
}};

std::vector<std::string> environmentOf(const GitCommand& command) {
    std::map<std::string, std::string> variables = {
        {"PATH", "/usr/bin:/bin"},    {"HOME", "/nonexistent"},           {"LC_ALL", "C.UTF-8"},
        {"GIT_CONFIG_NOSYSTEM", "1"}, {"GIT_CONFIG_GLOBAL", "/dev/null"}, {"GIT_TERMINAL_PROMPT", "0"},
        {"GIT_ATTR_NOSYSTEM", "1"},   {"GIT_LITERAL_PATHSPECS", "1"},
    };
    if (!command.repository.empty()) {
        variables["GIT_DIR"] = command.repository;
    }
    size_t count = 0;
    for (const auto& [key, value] : settings) {
        variables["GIT_CONFIG_KEY_" + std::to_string(count)] = key;
        variables["GIT_CONFIG_VALUE_" + std::to_string(count)] = value;
        ++count;
    }
    // Hooks are the sandbox's own or none.
    const auto hooks = command.variables.find("DRIFTWELL_SANDBOX_HOOKS");
    variables["GIT_CONFIG_KEY_" + std::to_string(count)] = "core.hooksPath";
    variables["GIT_CONFIG_VALUE_" + std::to_string(count)] =
        hooks == command.variables.end() ? "/dev/null" : hooks->second;
    variables["GIT_CONFIG_COUNT"] = std::to_string(count + 1);
    for (const auto& [name, value] : command.variables) {
        variables[name] = value;
    }
    std::vector<std::string> list;
    for (const auto& [name, value] : variables) {
        std::string entry = name;
        entry += '=';
        entry += value;
        list.push_back(std::move(entry));
    }
    return list;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> list;
    for (std::string& text : texts) {
        list.push_back(text.data());
    }
    list.push_back(nullptr);
    return list;
}

struct Pipe {
    Pipe() {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            throwSystem(errno, "pipe");
        }
        reading = Descriptor(ends[0]);
        writing = Descriptor(ends[1]);
    }
    Descriptor reading;
    Descriptor writing;
};

void makeNonBlocking(const Descriptor& descriptor) {
    fcntl(descriptor.number(), F_SETFL, fcntl(descriptor.number(), F_GETFL) | O_NONBLOCK);
}

/// What the child begins with: its three descriptors, a session of its own, and signals as a program expects them.
class Beginning {
public:
    Beginning(int input, int output, int error, int lock) {
        posix_spawn_file_actions_init(&m_actions);
        posix_spawn_file_actions_adddup2(&m_actions, input, STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&m_actions, output, STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&m_actions, error, STDERR_FILENO);
        int firstUnused = STDERR_FILENO + 1;
        if (lock >= 0) {
            posix_spawn_file_actions_adddup2(&m_actions, lock, firstUnused);
            ++firstUnused;
        }
        // The HTTP library's sockets would stay open in the child, and their peers wait for their end.
        posix_spawn_file_actions_addclosefrom_np(&m_actions, firstUnused);
        posix_spawnattr_init(&m_attributes);
        sigset_t none;
        sigemptyset(&none);
        posix_spawnattr_setsigmask(&m_attributes, &none);
        sigset_t changed;
        sigemptyset(&changed);
        sigaddset(&changed, SIGPIPE);
        posix_spawnattr_setsigdefault(&m_attributes, &changed);
        posix_spawnattr_setflags(
            &m_attributes, static_cast<short>(POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSID));
    }
    ~Beginning() {
        posix_spawnattr_destroy(&m_attributes);
        posix_spawn_file_actions_destroy(&m_actions);
    }
    Beginning(const Beginning&) = delete;
    Beginning& operator=(const Beginning&) = delete;

    [[nodiscard]] const posix_spawn_file_actions_t* actions() const { return &m_actions; }
    [[nodiscard]] const posix_spawnattr_t* attributes() const { return &m_attributes; }

private:
    posix_spawn_file_actions_t m_actions{};
    posix_spawnattr_t m_attributes{};
};

} // namespace

GitProcess::GitProcess(const GitCommand& command, const GitHost& host)
    : m_stop(host.stop), m_deadline(std::chrono::steady_clock::now() + command.time), m_buffer(bufferSize) {
    Pipe output;
    Pipe error;
    Descriptor input;
    if (command.input == GitCommand::Input::Pipe) {
        Pipe pipe;
        input = std::move(pipe.reading);
        m_input = std::move(pipe.writing);
        makeNonBlocking(m_input);
    } else {
        const bool isFile = command.input == GitCommand::Input::File;
        input = Descriptor(open(isFile ? command.inputFile.c_str() : "/dev/null", O_RDONLY | O_CLOEXEC));
        if (!input.isOpen()) {
            throwSystem(errno, "opening what git is to read");
        }
    }
    std::vector<std::string> arguments = {"git"};
    arguments.insert(arguments.end(), command.arguments.begin(), command.arguments.end());
    std::vector<std::string> environment = environmentOf(command);
    const Beginning beginning(input.number(), output.writing.number(), error.writing.number(), host.lock);
    const int failed = posix_spawn(&m_process, program, beginning.actions(), beginning.attributes(),
                                   pointers(arguments).data(), pointers(environment).data());
    if (failed == ENOENT || failed == EACCES) {
        throw HttpError(501, "no_git", "This sandbox needs git for that, and there is none on this machine");
    }
    if (failed != 0) {
        throwSystem(failed, "starting git");
    }
    m_output = std::move(output.reading);
    m_error = std::move(error.reading);
    makeNonBlocking(m_output);
    makeNonBlocking(m_error);
}

GitProcess::~GitProcess() {
    if (!m_status) {
        // Its session is its group, and all that it has started is in it.
        kill(-m_process, SIGKILL);
        while (waitpid(m_process, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
}

GitProcess::Ready GitProcess::waitFor(bool wantsInput) {
    using std::chrono::milliseconds;
    for (;;) {
        const auto left = std::chrono::ceil<milliseconds>(m_deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            throw GitFailure("git took too long");
        }
        // A descriptor of -1 is passed over.
        std::array<pollfd, 5> watched = {{
            {.fd = m_output.number(), .events = POLLIN, .revents = 0},
            {.fd = wantsInput ? m_input.number() : -1, .events = POLLOUT, .revents = 0},
            {.fd = m_error.number(), .events = POLLIN, .revents = 0},
            {.fd = m_stop.descriptor(), .events = POLLIN, .revents = 0},
            {.fd = m_peer, .events = POLLRDHUP, .revents = 0},
        }};
        if (poll(watched.data(), watched.size(), static_cast<int>(left.count())) < 0) {
            if (errno == EINTR) {
                continue;
            }
            throwSystem(errno, "poll");
        }
        if (watched[3].revents != 0) {
            throw HttpError(503, "stopping", "The sandbox is ending");
        }
        if (watched[4].revents != 0) {
            throw HttpError(400, "gone", "Nobody waits for the answer any more");
        }
        if (watched[2].revents != 0) {
            takeComplaint();
        }
        if (watched[1].revents != 0) {
            return Ready::Input;
        }
        if (watched[0].revents != 0 && !wantsInput) {
            return Ready::Output;
        }
    }
}

void GitProcess::takeComplaint() {
    std::array<char, 4096> piece;
    const ssize_t got = ::read(m_error.number(), piece.data(), piece.size());
    if (got > 0) {
        m_complaint.append(piece.data(), std::min(static_cast<size_t>(got), longestComplaint - m_complaint.size()));
    } else if (got == 0 || (errno != EAGAIN && errno != EINTR)) {
        m_error.reset();
    }
}

void GitProcess::write(std::string_view data) {
    while (!data.empty()) {
        static_cast<void>(waitFor(true));
        const ssize_t written = ::write(m_input.number(), data.data(), data.size());
        if (written >= 0) {
            data.remove_prefix(static_cast<size_t>(written));
        } else if (errno != EAGAIN && errno != EINTR) {
            takeComplaint();
            throw GitFailure("git ended early: " + m_complaint);
        }
    }
}

void GitProcess::closeInput() {
    m_input.reset();
}

std::string_view GitProcess::read() {
    for (;;) {
        static_cast<void>(waitFor(false));
        const ssize_t got = ::read(m_output.number(), m_buffer.data(), m_buffer.size());
        if (got >= 0) {
            return {m_buffer.data(), static_cast<size_t>(got)};
        }
        if (errno != EAGAIN && errno != EINTR) {
            throwSystem(errno, "reading from git");
        }
    }
}

int GitProcess::wait() {
    // What it has complained of is there by the time it ends.
    while (m_error.isOpen()) {
        std::array<pollfd, 2> watched = {{
            {.fd = m_error.number(), .events = POLLIN, .revents = 0},
            {.fd = m_stop.descriptor(), .events = POLLIN, .revents = 0},
        }};
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_deadline - std::chrono::steady_clock::now());
        const int ready = left.count() > 0 ? poll(watched.data(), watched.size(), static_cast<int>(left.count())) : 0;
        if ((ready < 0 && errno != EINTR) || ready == 0 || watched[1].revents != 0) {
            throw GitFailure("git did not end");
        }
        if (ready > 0) {
            takeComplaint();
        }
    }
    int status = 0;
    while (waitpid(m_process, &status, 0) < 0) {
        if (errno != EINTR) {
            throwSystem(errno, "waiting for git");
        }
    }
    m_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return *m_status;
}

std::string outputOfGit(const GitCommand& command, const GitHost& host) {
    GitProcess git(command, host);
    std::string output;
    for (std::string_view piece = git.read(); !piece.empty(); piece = git.read()) {
        if (output.size() + piece.size() > longestOutput) {
            throw GitFailure("git said more than it should");
        }
        output += piece;
    }
    if (git.wait() != 0) {
        throw GitFailure("git " + command.arguments.front() + " failed: " + git.complaint());
    }
    return output;
}

std::map<std::string, std::string> inheritedQuarantine() {
    std::map<std::string, std::string> variables;
    for (const char* name : {"GIT_QUARANTINE_PATH", "GIT_OBJECT_DIRECTORY", "GIT_ALTERNATE_OBJECT_DIRECTORIES"}) {
        if (const char* value = std::getenv(name)) {
            variables[name] = value;
        }
    }
    return variables;
}

} // namespace driftwell::sandbox
