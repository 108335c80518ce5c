#pragma once

#include "desktop/freedesktop/Notification.h"
#include "desktop/PackageUpdates.h"
#include "support/Bundle.h"
#include "support/Task.h"
#include "tooling/Updater.h"

#include <QDBusConnection>
#include <QObject>
#include <QSettings>

#include <memory>

namespace driftwell {

/// The updates of the running application: the package manager, the updater on it, and the notifications by which the
/// person learns how a check has ended. A password is asked for only after the person has pressed a notification's
/// button.
class Updates final : public QObject {
    Q_OBJECT

public:
    /// The system bus is used only by a copy with a feed.
    Updates(const Bundle& bundle, std::unique_ptr<QSettings> defaults, QDBusConnection sessionBus);
    /// On another package manager than the system's; null for none.
    Updates(const Bundle& bundle, std::unique_ptr<PackageUpdates> packages, std::unique_ptr<QSettings> defaults,
            QDBusConnection sessionBus);
    ~Updates() override;

    [[nodiscard]] Updater& updater() { return m_updater; }

    /// Starts the daily checks.
    void start() { m_updater.start(); }

    /// Stops what runs, and resumes when it has ended.
    Task<> end() { return m_updater.end(); }

    /// How a check that has ended is told.
    [[nodiscard]] static Notification::Content contentOf(Updater::Outcome outcome, const QString& text);

private:
    void tell(Updater::Outcome outcome, const QString& text);

    QDBusConnection m_sessionBus;
    /// Null in a copy without a feed.
    std::unique_ptr<PackageUpdates> m_packages;
    Updater m_updater;
    /// The last that was told; null before.
    std::unique_ptr<Notification> m_notification;
};

} // namespace driftwell
