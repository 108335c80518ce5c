#include "bench/ProcessRun.h"

#include "support/SystemError.h"
#include "support/UniqueFd.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <stdexcept>
#include <system_error>

namespace driftwell::bench {

namespace {

std::vector<char*> pointers(const std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (const std::string& text : texts) {
        result.push_back(const_cast<char*>(text.c_str()));
    }
    result.push_back(nullptr);
    return result;
}

std::vector<std::string> environmentWith(const std::vector<std::string>& variables) {
    std::vector<std::string> all = variables;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        all.emplace_back(*entry);
    }
    return all;
}

pid_t spawn(const std::vector<std::string>& command, const std::vector<std::string>& variables, int output) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    const std::vector<std::string> environment = environmentWith(variables);
    pid_t pid = -1;
    const int failed = ::posix_spawnp(&pid, command.front().c_str(), &actions, nullptr, pointers(command).data(),
                                      pointers(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    if (failed != 0) {
        throw std::system_error(failed, std::generic_category(), command.front());
    }
    return pid;
}

double seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

} // namespace

Cost run(const std::vector<std::string>& command, const std::vector<std::string>& variables) {
    const UniqueFd nothing(checked(::open("/dev/null", O_WRONLY | O_CLOEXEC), "/dev/null"));
    const auto start = std::chrono::steady_clock::now();
    const pid_t pid = spawn(command, variables, nothing.get());
    int status = 0;
    rusage usage{};
    checked(::wait4(pid, &status, 0, &usage), "wait4");
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        throw std::runtime_error(command.front() + " failed");
    }
    return {wall.count(), seconds(usage.ru_utime) + seconds(usage.ru_stime), usage.ru_maxrss};
}

std::string outputOf(const std::vector<std::string>& command) {
    std::array<int, 2> ends{};
    checked(::pipe2(ends.data(), O_CLOEXEC), "pipe");
    const UniqueFd reader(ends[0]);
    UniqueFd writer(ends[1]);
    const pid_t pid = spawn(command, {}, writer.get());
    writer.reset();
    std::string output;
    std::array<char, 4096> buffer{};
    for (ssize_t got = 0; (got = ::read(reader.get(), buffer.data(), buffer.size())) > 0;) {
        output.append(buffer.data(), static_cast<std::size_t>(got));
    }
    int status = 0;
    checked(::waitpid(pid, &status, 0), "waitpid");
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        throw std::runtime_error(command.front() + " failed");
    }
    return output;
}

Background::Background(const std::vector<std::string>& command) {
    std::array<int, 2> ends{};
    checked(::pipe2(ends.data(), O_CLOEXEC), "pipe");
    const UniqueFd reader(ends[0]);
    UniqueFd writer(ends[1]);
    m_pid = spawn(command, {}, writer.get());
    writer.reset();
    char character = 0;
    while (::read(reader.get(), &character, 1) == 1 && character != '\n') {
        m_firstLine += character;
    }
}

Background::~Background() {
    ::kill(m_pid, SIGTERM);
    ::waitpid(m_pid, nullptr, 0);
}

} // namespace driftwell::bench
