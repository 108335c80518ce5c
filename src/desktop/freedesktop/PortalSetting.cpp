#include "desktop/freedesktop/PortalSetting.h"

#include "desktop/freedesktop/BusCall.h"
#include "desktop/freedesktop/Portal.h"

#include <QDBusError>
#include <QDBusServiceWatcher>

#include <utility>

namespace driftwell {

namespace {

const QString settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString readMethod = QStringLiteral("ReadOne");
/// What portals of version 1 have instead.
const QString olderReadMethod = QStringLiteral("Read");

} // namespace

PortalSetting::PortalSetting(QDBusConnection bus, std::chrono::milliseconds timeout, QString group, QString key,
                             QObject* parent)
    : QObject(parent), m_bus(std::move(bus)), m_timeout(timeout), m_group(std::move(group)), m_key(std::move(key)) {
    // Qt finds the types of a slot by their names, and this one's is known only after its first use.
    qRegisterMetaType<QDBusVariant>();
    if (!m_bus.connect(portal::service(), portal::objectPath(), settingsInterface, QStringLiteral("SettingChanged"),
                       this, SLOT(follow(QString, QString, QDBusVariant))) &&
        m_bus.isConnected()) {
        qWarning("Changes of the desktop's %s are not followed: %s", qUtf8Printable(m_key),
                 qUtf8Printable(m_bus.lastError().message()));
    }
    auto* arrivals = new QDBusServiceWatcher(portal::service(), m_bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(arrivals, &QDBusServiceWatcher::serviceRegistered, this, [this] { read(readMethod); });
    read(readMethod);
}

void PortalSetting::follow(const QString& group, const QString& key, const QDBusVariant& value) {
    if (group == m_group && key == m_key) {
        Q_EMIT told(portal::unwrapped(value.variant()));
    }
}

void PortalSetting::read(const QString& method) {
    const QDBusMessage question = portal::call(settingsInterface, method, {m_group, m_key});
    callOnBus(m_bus, question, m_timeout, this, [this, method](const QDBusMessage& reply) {
        if (QDBusError(reply).type() == QDBusError::UnknownMethod && method != olderReadMethod) {
            read(olderReadMethod);
            return;
        }
        if (reply.type() != QDBusMessage::ErrorMessage) {
            Q_EMIT told(portal::unwrapped(reply.arguments().value(0)));
        }
        Q_EMIT heard();
    });
}

} // namespace driftwell
