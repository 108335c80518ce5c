#pragma once

#include "support/Sleep.h"
#include "support/Task.h"
#include "support/TaskGroup.h"
#include "tooling/LocalServerPhase.h"

#include <QObject>
#include <QProperty>
#include <QString>

#include <filesystem>

namespace driftwell {

/// The dev server of a checkout of the platform, run in the background for as long as the application is open. Confined
/// to the main thread; no operation throws.
class LocalServerController final : public QObject {
    Q_OBJECT

public:
    using Phase = LocalServerPhase;

    explicit LocalServerController(Sleeper sleep = sleepFor);
    ~LocalServerController() override;

    [[nodiscard]] Phase phase() const { return m_phase; }

    /// Starts the checkout's server unless somebody answers at the origin already, and resumes when it answers or the
    /// attempt has failed: the phase tells which. Does nothing while a server comes up or runs.
    Task<> start(std::filesystem::path repo, QString origin);

    /// The same, started in the background, and not within 15 seconds of the last attempt.
    void startIfNeeded(const std::filesystem::path& repo, const QString& origin);

    /// Stops a server that this has started, and resumes when it has ended.
    Task<> end();

Q_SIGNALS:
    void phaseChanged();

private:
    Sleeper m_sleep;
    TaskGroup m_tasks;

    Q_OBJECT_BINDABLE_PROPERTY(LocalServerController, LocalServerController::Phase, m_phase,
                               &LocalServerController::phaseChanged)
};

} // namespace driftwell
