#pragma once

#include "support/ChildProcess.h"

#include <QDBusConnection>
#include <QObject>
#include <QString>

#include <chrono>
#include <filesystem>
#include <optional>

namespace driftwell {

/// Offers to install a package of the system: in the desktop's own dialogs, which PackageKit's interface for sessions
/// shows (org.freedesktop.PackageKit.Modify2), and where nobody offers that, by apt-get once the administrator has
/// agreed. One offer of the second kind at a time. What becomes of an offer is not told.
class PackageOffer final : public QObject {
    Q_OBJECT

public:
    /// Without a dialog of the desktop's.
    struct Programs {
        std::filesystem::path pkexec = "/usr/bin/pkexec";
        std::filesystem::path aptGet = "/usr/bin/apt-get";
    };

    PackageOffer(QDBusConnection sessionBus, Programs programs);
    explicit PackageOffer(QDBusConnection sessionBus) : PackageOffer(std::move(sessionBus), Programs()) {}

    void make(const QString& package);

private:
    void installAsAdministrator(const QString& package);
    Task<> forgetWhenEnded(Task<ChildProcess::Result> ended);

    QDBusConnection m_bus;
    Programs m_programs;
    std::optional<ChildProcess> m_installation;
};

} // namespace driftwell
