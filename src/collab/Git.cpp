#include "collab/Git.h"

#include "collab/GitEnvironment.h"
#include "desktop/DesktopServices.h"
#include "platform/ConfigStore.h"
#include "platform/PlatformError.h"
#include "platform/Token.h"
#include "support/Cancellation.h"
#include "support/ChildProcess.h"
#include "support/UniqueFd.h"

#include <QScopeGuard>
#include <QStringDecoder>

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

/// The outputs of a run, up to a limit for each.
class BoundedOutputs {
public:
    BoundedOutputs(std::size_t limit, StopScope& run) : m_limit(limit), m_run(run) {}

    void take(ChildProcess::Output output, std::string_view piece) {
        std::string& text = output == ChildProcess::Output::Standard ? standardOutput : standardError;
        if (piece.size() > m_limit - text.size()) {
            exceeded = true;
            m_run.requestStop();
            return;
        }
        text += piece;
    }

    std::string standardOutput;
    std::string standardError;
    bool exceeded = false;

private:
    std::size_t m_limit;
    StopScope& m_run;
};

QString decoded(const std::string& bytes) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder(QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size())));
    return decoder.hasError() ? QString() : text;
}

std::vector<std::string> withAuthor(std::vector<std::string> arguments, const std::optional<Identity>& identity) {
    if (identity) {
        arguments.insert(arguments.begin(), {"-c", "user.name=" + identity->name.toStdString(), "-c",
                                             "user.email=" + identity->email.toStdString()});
    }
    return arguments;
}

constexpr std::int32_t notStarted = 127;

using Clock = std::chrono::steady_clock;

std::function<void(const Git::RunRecord&)>& observer() {
    static std::function<void(const Git::RunRecord&)> all;
    return all;
}

Git::RunRecord recordOf(const std::vector<std::string>& arguments, const Git::Surroundings& surroundings,
                        const QString& token) {
    Git::RunRecord record;
    for (const std::string& argument : arguments) {
        record.arguments += withoutSecrets(QByteArray::fromStdString(argument), token);
    }
    record.folder = surroundings.folder.value_or(std::filesystem::path());
    return record;
}

std::chrono::milliseconds since(Clock::time_point begun) {
    return std::chrono::floor<std::chrono::milliseconds>(Clock::now() - begun);
}

Task<Git::RunResult> runUnseen(std::vector<std::string> arguments, Git::Surroundings surroundings,
                               std::stop_token stop) {
    StopScope scope(stop);
    BoundedOutputs outputs(surroundings.outputLimit, scope);
    try {
        if (surroundings.access && surroundings.access->token) {
            requireSendable(*surroundings.access->token, QStringLiteral("The token"));
        }
        ChildProcess::Command command;
        command.program = surroundings.program;
        command.arguments = withAuthor(std::move(arguments), surroundings.identity);
        command.environment = gitEnvironment(ProcessEnvironment::inherited(), surroundings);
        command.workingFolder = surroundings.folder.value_or(std::filesystem::path());
        command.session = ChildProcess::Session::Own;
        ChildProcess::OutputReader reader = [&outputs](ChildProcess::Output output, std::string_view piece) {
            outputs.take(output, piece);
        };
        const ChildProcess::Result result =
            co_await ChildProcess::run(std::move(command), scope.token(), std::move(reader));
        co_return Git::RunResult{result.status, decoded(outputs.standardOutput), decoded(outputs.standardError),
                                 std::move(outputs.standardOutput), result.endedBySignal};
    } catch (const Cancelled&) {
        if (!outputs.exceeded) {
            throw;
        }
        throwIfCancelled(stop);
        co_return Git::RunResult{notStarted, {}, QStringLiteral("git was stopped: it said more than can be read")};
    } catch (const std::exception& failure) {
        co_return Git::RunResult{notStarted, {}, describe(failure)};
    }
}

Task<Git::RunResult> runSeen(std::vector<std::string> arguments, Git::Surroundings surroundings, std::stop_token stop) {
    const std::function<void(const Git::RunRecord&)> tell = observer();
    const QString token = surroundings.access ? surroundings.access->token.value_or(QString()) : QString();
    Git::RunRecord record = recordOf(arguments, surroundings, token);
    const Clock::time_point begun = Clock::now();
    const auto told = qScopeGuard([&] {
        record.time = since(begun);
        tell(record);
    });
    Git::RunResult result = co_await runUnseen(std::move(arguments), std::move(surroundings), std::move(stop));
    record.code = result.code;
    record.wasKilled = result.wasKilled;
    if (result.code != 0) {
        record.failure = withoutSecrets(result.failureText().trimmed().section(u'\n', 0, 0).toUtf8(), token);
    }
    co_return std::move(result);
}

} // namespace

Git::Access Git::Access::of(const PlatformConfig& config, const ConfigStore& store) {
    return {config, store.token(config)};
}

Task<Git::RunResult> Git::run(std::vector<std::string> arguments, Surroundings surroundings, std::stop_token stop) {
    return observer() ? runSeen(std::move(arguments), std::move(surroundings), std::move(stop))
                      : runUnseen(std::move(arguments), std::move(surroundings), std::move(stop));
}

void Git::setObserver(std::function<void(const RunRecord&)> observer) {
    driftwell::observer() = std::move(observer);
}

QString Git::remoteUrl(const PlatformConfig& config, const QString& site) {
    return config.origin() + QStringLiteral("/git/") + site;
}

bool Git::toolsInstalled(const std::filesystem::path& program) {
    std::string name = program;
    std::string argument = "--version";
    const std::array<char*, 3> arguments{name.data(), argument.data(), nullptr};
    const NoStreams streams;
    const Clock::time_point begun = Clock::now();
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
    const bool hasExited = WIFEXITED(status);
    const int code = hasExited ? WEXITSTATUS(status) : WTERMSIG(status);
    if (observer()) {
        observer()({.arguments = {QString::fromStdString(argument)},
                    .folder = {},
                    .time = since(begun),
                    .code = code,
                    .wasKilled = !hasExited,
                    .failure = {}});
    }
    return hasExited && code == 0;
}

void Git::promptInstall(DesktopServices& desktop) {
    desktop.promptInstall(QStringLiteral("git"));
}

} // namespace driftwell
