#include "collab/Git.h"

#include "desktop/DesktopServices.h"
#include "support/UniqueFd.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>

namespace driftwell {

namespace {

constexpr int patienceMilliseconds = 5000;

class NoStreams {
public:
    NoStreams() {
        ::posix_spawn_file_actions_init(&m_actions);
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            ::posix_spawn_file_actions_addopen(&m_actions, stream, "/dev/null", O_RDWR, 0);
        }
    }
    ~NoStreams() { ::posix_spawn_file_actions_destroy(&m_actions); }
    NoStreams(const NoStreams&) = delete;
    NoStreams& operator=(const NoStreams&) = delete;

    [[nodiscard]] const posix_spawn_file_actions_t* get() const { return &m_actions; }

private:
    posix_spawn_file_actions_t m_actions{};
};

bool endsInTime(pid_t child) {
    const UniqueFd process(static_cast<int>(::syscall(SYS_pidfd_open, child, 0)));
    pollfd end{process.get(), POLLIN, 0};
    int ready = 0;
    do {
        ready = process ? ::poll(&end, 1, patienceMilliseconds) : -1;
    } while (ready < 0 && process && errno == EINTR);
    return ready > 0;
}

} // namespace

bool Git::toolsInstalled(const std::filesystem::path& program) {
    std::string name = program;
    std::string argument = "--version";
    const std::array<char*, 3> arguments{name.data(), argument.data(), nullptr};
    const NoStreams streams;
    pid_t child = -1;
    if (::posix_spawn(&child, name.c_str(), streams.get(), nullptr, arguments.data(), environ) != 0) {
        return false;
    }
    if (!endsInTime(child)) {
        ::kill(child, SIGKILL);
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            return false;
        }
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void Git::promptInstall(DesktopServices& desktop) {
    desktop.promptInstall(QStringLiteral("git"));
}

} // namespace driftwell
