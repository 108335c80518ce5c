#include "tests/apps/support/SandboxProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace driftwell::tests {

namespace {

using std::chrono::steady_clock;

struct Child {
    pid_t pid = -1;
    int output = -1;
    int errors = -1;
};

enum class Errors { Inherited, Piped };

/// `command` begins with the full path of the program.
Child start(const std::vector<std::string>& command, Errors errors) {
    int output[2];
    int problems[2] = {-1, -1};
    if (pipe2(output, O_CLOEXEC) != 0 || (errors == Errors::Piped && pipe2(problems, O_CLOEXEC) != 0)) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    std::vector<const char*> argv;
    for (const std::string& argument : command) {
        argv.push_back(argument.c_str());
    }
    argv.push_back(nullptr);
    const pid_t pid = fork();
    if (pid < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(output[1], STDOUT_FILENO);
        if (errors == Errors::Piped) {
            dup2(problems[1], STDERR_FILENO);
        }
        execv(argv[0], const_cast<char* const*>(argv.data()));
        _exit(127);
    }
    close(output[1]);
    if (errors == Errors::Piped) {
        close(problems[1]);
    }
    return {pid, output[0], problems[0]};
}

std::vector<std::string> commandOf(const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {DRIFTWELL_SANDBOX};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

/// Mounts the disk where nobody else sees it, and becomes the command.
std::vector<std::string> onDisk(SmallDisk disk, const std::string& folder, const std::vector<std::string>& command) {
    const std::string script = R"(mount -t tmpfs -o "size=$1m" tmpfs "$2" && shift 2 && exec "$@")";
    std::vector<std::string> whole = {"/usr/bin/unshare",
                                      "--map-root-user",
                                      "--mount",
                                      "/bin/sh",
                                      "-c",
                                      script,
                                      "sh",
                                      std::to_string(disk.megabytes),
                                      folder};
    whole.insert(whole.end(), command.begin(), command.end());
    return whole;
}

std::string readToEnd(int pipe) {
    std::string text;
    char buffer[4096];
    for (;;) {
        const ssize_t got = read(pipe, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            close(pipe);
            return text;
        }
        text.append(buffer, static_cast<size_t>(got));
    }
}

int waitForEnd(pid_t pid) {
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string readLine(int pipe) {
    std::string line;
    const auto end = steady_clock::now() + deadline;
    while (steady_clock::now() < end) {
        pollfd watched{.fd = pipe, .events = POLLIN, .revents = 0};
        char character = 0;
        if (poll(&watched, 1, 100) <= 0) {
            continue;
        }
        if (read(pipe, &character, 1) != 1 || character == '\n') {
            break;
        }
        line += character;
    }
    close(pipe);
    return line;
}

} // namespace

bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds time) {
    const auto end = steady_clock::now() + time;
    while (!condition()) {
        if (steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

Ended runSandbox(const std::vector<std::string>& arguments) {
    const Child child = start(commandOf(arguments), Errors::Piped);
    Ended ended;
    std::thread errors([&] { ended.errors = readToEnd(child.errors); });
    ended.output = readToEnd(child.output);
    errors.join();
    ended.status = waitForEnd(child.pid);
    return ended;
}

SandboxProcess::SandboxProcess(const std::string& dataFolder, std::vector<std::string> arguments,
                               std::optional<SmallDisk> disk) {
    arguments.insert(arguments.end(), {"--port", "0", "--data", dataFolder});
    const Child child =
        start(disk ? onDisk(*disk, dataFolder, commandOf(arguments)) : commandOf(arguments), Errors::Inherited);
    m_pid = child.pid;
    m_readyLine = readLine(child.output);
    const std::string expected = "Driftwell sandbox: http://driftwell.localhost:";
    if (!m_readyLine.starts_with(expected)) {
        end(SIGKILL);
        throw std::runtime_error("the sandbox did not start: " + m_readyLine);
    }
    m_port = std::stoi(m_readyLine.substr(expected.size()));
}

SandboxProcess::~SandboxProcess() {
    end(SIGKILL);
}

std::string SandboxProcess::url(const std::string& path) const {
    return "http://driftwell.localhost:" + std::to_string(m_port) + path;
}

std::string SandboxProcess::siteUrl(const std::string& site, const std::string& path) const {
    return "http://" + site + ".driftwell.localhost:" + std::to_string(m_port) + path;
}

size_t SandboxProcess::residentBytes() const {
    std::ifstream file("/proc/" + std::to_string(m_pid) + "/statm");
    size_t total = 0;
    size_t resident = 0;
    file >> total >> resident;
    return resident * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

int SandboxProcess::end(int signal) {
    if (m_pid < 0) {
        return -1;
    }
    kill(m_pid, signal);
    const int status = waitForEnd(m_pid);
    m_pid = -1;
    return status;
}

} // namespace driftwell::tests
