#include "tooling/LocalServerController.h"

#include "platform/PlatformError.h"
#include "support/Cancellation.h"
#include "support/WhileAlive.h"
#include "tooling/CommandLookup.h"

#include <unistd.h>

#include <memory>
#include <system_error>
#include <utility>

namespace driftwell {

namespace {

using namespace std::chrono_literals;
using Kind = LocalServerPhase::Kind;

constexpr auto pauseBetweenAttempts = 15s;
constexpr auto pauseBetweenPolls = 500ms;
constexpr int mostPolls = 60;
constexpr int ok = 200;

constexpr const char* builtPackage = "packages/shared/dist/index.js";
constexpr const char* serverFolder = "packages/server";

HttpLimits limitsOfOnePoll() {
    HttpLimits limits;
    limits.idle = 2s;
    limits.total = 2s;
    return limits;
}

/// Runs the server as a child and ends it when the application or the server is gone.
std::string watchdogScript() {
    return "./node_modules/.bin/tsx src/index.ts &\n"
           "SERVER=$!\n"
           "trap 'kill $SERVER 2>/dev/null' EXIT\n"
           "while kill -0 " +
           std::to_string(::getpid()) +
           " 2>/dev/null && kill -0 $SERVER 2>/dev/null; do\n"
           "  sleep 2\n"
           "done";
}

ChildProcess::Command loginShell(const std::filesystem::path& shell, std::string script,
                                 const std::filesystem::path& folder) {
    ChildProcess::Command command{shell, {"-lc", std::move(script)}, ProcessEnvironment::inherited()};
    command.workingFolder = folder;
    command.outputs = ChildProcess::Outputs::Joined;
    command.session = ChildProcess::Session::Own;
    command.remainder = ChildProcess::Remainder::Terminated;
    return command;
}

/// Where a server of the platform tells its sites.
QByteArray probeAddress(const QString& origin) {
    QByteArray address = origin.toUtf8();
    return address + (address.endsWith('/') ? "api/sites" : "/api/sites");
}

Task<> wait(Completion<> event) {
    co_await event;
}

} // namespace

LocalServerController::LocalServerController(System system) : m_system(std::move(system)), m_probe(limitsOfOnePoll()) {}

LocalServerController::~LocalServerController() = default;

std::filesystem::path LocalServerController::shell() const {
    for (const std::filesystem::path& shell : m_system.shells) {
        if (isExecutableFile(shell)) {
            return shell;
        }
    }
    return m_system.shells.empty() ? std::filesystem::path() : m_system.shells.front();
}

bool LocalServerController::isUpOrComing() const {
    const Phase phase = m_phase;
    return phase.isComingUp() || phase == Phase::running();
}

void LocalServerController::fail(const QString& what) {
    m_phase = Phase::failed(what + m_output.lastLine());
}

Task<> LocalServerController::start(std::filesystem::path repo, QString origin) {
    return m_tasks.run(attempt(std::move(repo), std::move(origin)));
}

void LocalServerController::startIfNeeded(const std::filesystem::path& repo, const QString& origin) {
    const bool wasJustTried = m_lastAttempt && m_system.now() - *m_lastAttempt < pauseBetweenAttempts;
    if (!isUpOrComing() && !wasJustTried) {
        start(repo, origin);
    }
}

Task<> LocalServerController::attempt(std::filesystem::path repo, QString origin) {
    if (isUpOrComing()) {
        co_return;
    }
    const std::stop_token stop = m_tasks.token();
    throwIfCancelled(stop);
    m_lastAttempt = m_system.now();
    ++m_attempts;
    m_phase = Phase::starting();
    if (m_process) {
        // The last attempt's shell is on its way out, and its output is not this one's.
        co_await whileAlive(this, wait(m_processGone));
        throwIfCancelled(stop);
    }
    m_output.clear();
    if (co_await whileAlive(this, healthy(origin))) {
        m_phase = Phase::running();
        co_return;
    }
    std::error_code unreadable;
    if (!std::filesystem::exists(repo / builtPackage, unreadable)) {
        m_phase = Phase::building();
        if (!co_await whileAlive(this, buildsSharedPackage(repo, stop))) {
            fail(QStringLiteral("couldn’t build @driftwell/shared — "));
            co_return;
        }
        m_phase = Phase::starting();
    }
    throwIfCancelled(stop);
    try {
        launch(repo);
    } catch (const std::system_error& failure) {
        m_phase = Phase::failed(QStringLiteral("couldn’t launch the dev server: ") + describe(failure.code()));
        co_return;
    }
    co_await whileAlive(this, waitForAnswer(origin));
}

Task<bool> LocalServerController::buildsSharedPackage(std::filesystem::path repo, std::stop_token stop) {
    const auto output = std::make_shared<WholeOutput>();
    const auto read = [output](ChildProcess::Output, std::string_view piece) {
        output->append(piece);
    };
    ChildProcess::Command command = loginShell(shell(), "pnpm --filter @driftwell/shared build", repo);
    ChildProcess::Result result;
    try {
        result = co_await whileAlive(this, ChildProcess::run(std::move(command), std::move(stop), read));
    } catch (const std::system_error&) {
        co_return false;
    }
    m_output.appendText(output->end());
    co_return result.succeeded();
}

void LocalServerController::launch(const std::filesystem::path& repo) {
    ChildProcess::Command command = loginShell(shell(), watchdogScript(), repo / serverFolder);
    command.environment.set("DW_DEV", "1");
    // It has to see to the server's end when this process was killed.
    command.parentDeath = ChildProcess::ParentDeath::IsSurvived;
    const auto read = [self = QPointer(this)](ChildProcess::Output, std::string_view piece) {
        if (self) {
            self->m_output.append(piece);
        }
    };
    m_process.emplace(std::move(command), read);
    m_processGone = Completion<>();
    m_tasks.run(followEnd(m_process->ended(), m_attempts));
}

Task<> LocalServerController::followEnd(Task<ChildProcess::Result> ended, int attempt) {
    co_await whileAlive(this, std::move(ended));
    m_process.reset();
    if (attempt == m_attempts && !m_tasks.token().stop_requested()) {
        fail(QStringLiteral("local server exited — "));
    }
    m_processGone.succeed();
}

Task<> LocalServerController::waitForAnswer(QString origin) {
    for (int poll = 0; poll < mostPolls; ++poll) {
        co_await whileAlive(this, m_system.sleep(pauseBetweenPolls, m_tasks.token()));
        const bool answers = m_phase.value().isComingUp() && co_await whileAlive(this, healthy(origin));
        if (!m_phase.value().isComingUp()) {
            co_return;
        }
        if (answers) {
            m_phase = Phase::running();
            co_return;
        }
    }
    m_process->terminate();
    fail(QStringLiteral("local server didn’t respond within 30s — "));
}

Task<bool> LocalServerController::healthy(QString origin) {
    HttpRequest question;
    question.method = "GET";
    question.url = probeAddress(origin);
    try {
        const HttpResponse answer = co_await m_probe.send(std::move(question), m_tasks.token());
        co_return answer.status == ok;
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception&) {
        co_return false;
    }
}

Task<> LocalServerController::end() {
    if (m_process) {
        m_process->terminate();
    }
    return m_tasks.end();
}

} // namespace driftwell
