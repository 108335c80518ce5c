#include "desktop/freedesktop/PackageOffer.h"

#include "desktop/freedesktop/BusCall.h"
#include "support/WhileAlive.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QStringList>
#include <QVariantMap>

#include <system_error>
#include <utility>

namespace driftwell {

namespace {

/// The answer comes when the person is done with the dialogs.
constexpr std::chrono::hours answerTimeout(12);

bool isNobodyThere(const QDBusMessage& reply) {
    switch (QDBusError(reply).type()) {
    case QDBusError::Disconnected:
    case QDBusError::ServiceUnknown:
    case QDBusError::UnknownInterface:
    case QDBusError::UnknownMethod:
    case QDBusError::UnknownObject:
        return true;
    default:
        return QDBusError(reply).name().startsWith(QLatin1StringView("org.freedesktop.DBus.Error.Spawn."));
    }
}

} // namespace

PackageOffer::PackageOffer(QDBusConnection sessionBus, Programs programs)
    : m_bus(std::move(sessionBus)), m_programs(std::move(programs)) {}

void PackageOffer::make(const QString& package) {
    QDBusMessage offer = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.PackageKit"), QStringLiteral("/org/freedesktop/PackageKit"),
        QStringLiteral("org.freedesktop.PackageKit.Modify2"), QStringLiteral("InstallPackageNames"));
    offer.setArguments(
        {QStringList{package}, QStringLiteral("hide-finished"), QStringLiteral("driftwell"), QVariantMap()});
    callOnBus(m_bus, offer, answerTimeout, this, [this, package](const QDBusMessage& reply) {
        if (reply.type() == QDBusMessage::ErrorMessage && isNobodyThere(reply)) {
            installAsAdministrator(package);
        }
    });
}

void PackageOffer::installAsAdministrator(const QString& package) {
    if (m_installation) {
        return;
    }
    ChildProcess::Command command{m_programs.pkexec,
                                  {m_programs.aptGet, "install", "-y", package.toStdString()},
                                  ProcessEnvironment::inherited()};
    command.session = ChildProcess::Session::Own;
    // An installation that has begun is better finished than broken off.
    command.parentDeath = ChildProcess::ParentDeath::IsSurvived;
    const auto ignore = [](ChildProcess::Output, std::string_view) {
    };
    try {
        m_installation.emplace(std::move(command), ignore);
    } catch (const std::system_error&) {
        return;
    }
    detach(forgetWhenEnded(m_installation->ended()));
}

Task<> PackageOffer::forgetWhenEnded(Task<ChildProcess::Result> ended) {
    co_await whileAlive(this, std::move(ended));
    m_installation.reset();
}

} // namespace driftwell
