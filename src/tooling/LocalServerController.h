#pragma once

#include "platform/HttpSession.h"
#include "support/ChildProcess.h"
#include "support/Completion.h"
#include "support/Sleep.h"
#include "support/Task.h"
#include "support/TaskGroup.h"
#include "tooling/LocalServerPhase.h"
#include "tooling/OutputTail.h"

#include <QObject>
#include <QProperty>
#include <QString>

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <vector>

namespace driftwell {

/// The dev server of a checkout of the platform, run in the background for as long as the application is open. Confined
/// to the main thread; no operation throws.
///
/// The server is a child of a shell that looks every two seconds whether the application and the server are alive, and
/// ends the server when the application is gone, also when that was killed. When the shell ends, whatever the reason,
/// this ends what is left of it.
class LocalServerController final : public QObject {
    Q_OBJECT

public:
    using Phase = LocalServerPhase;
    using Moment = std::chrono::steady_clock::time_point;

    /// What a test has in place of the machine's own.
    struct System {
        /// The first that is there is the shell that everything is started in, as a login shell, so that the person's
        /// search path finds the tools.
        std::vector<std::filesystem::path> shells = {"/bin/zsh", "/bin/sh"};
        Sleeper sleep = sleepFor;
        std::function<Moment()> now = std::chrono::steady_clock::now;
    };

    explicit LocalServerController(System system);
    LocalServerController() : LocalServerController(System()) {}
    /// Kills a server that this has started and that still runs.
    ~LocalServerController() override;

    [[nodiscard]] Phase phase() const { return m_phase; }

    /// Starts the checkout's server unless somebody answers at the origin already, and resumes when it answers or the
    /// attempt has failed: the phase tells which. Does nothing while a server comes up or runs.
    Task<> start(std::filesystem::path repo, QString origin);

    /// The same, started in the background, and not within 15 seconds of the last attempt.
    void startIfNeeded(const std::filesystem::path& repo, const QString& origin);

    /// Stops a server that this has started, and resumes when it has ended. Called once; nothing is started afterwards.
    Task<> end();

Q_SIGNALS:
    void phaseChanged();

private:
    Task<> attempt(std::filesystem::path repo, QString origin);
    Task<bool> buildsSharedPackage(std::filesystem::path repo, std::stop_token stop);
    void launch(const std::filesystem::path& repo);
    Task<> followEnd(Task<ChildProcess::Result> ended, int attempt);
    Task<> waitForAnswer(QString origin);
    Task<bool> healthy(QString origin);
    [[nodiscard]] bool isUpOrComing() const;
    void fail(const QString& what);
    [[nodiscard]] std::filesystem::path shell() const;

    System m_system;
    HttpSession m_probe;
    OutputTail m_output;
    std::optional<Moment> m_lastAttempt;
    /// How many there have been.
    int m_attempts = 0;
    /// The shell while it lives.
    std::optional<ChildProcess> m_process;
    /// The shell that was launched last has ended.
    Completion<> m_processGone;
    TaskGroup m_tasks;

    Q_OBJECT_BINDABLE_PROPERTY(LocalServerController, LocalServerController::Phase, m_phase,
                               &LocalServerController::phaseChanged)
};

} // namespace driftwell
