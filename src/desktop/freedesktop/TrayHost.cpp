#include "desktop/freedesktop/TrayHost.h"

#include "desktop/freedesktop/BusCall.h"

#include <QDBusServiceWatcher>
#include <QDBusVariant>

#include <utility>

namespace driftwell {

namespace {

const QString watcherName = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");
const QString watcherInterface = QStringLiteral("org.kde.StatusNotifierWatcher");

} // namespace

TrayHost::TrayHost(QDBusConnection bus, std::chrono::milliseconds timeout, std::chrono::milliseconds grace)
    : m_bus(std::move(bus)), m_timeout(timeout) {
    m_grace.setSingleShot(true);
    m_grace.setInterval(grace);
    connect(&m_grace, &QTimer::timeout, this, &TrayHost::considerOlderTray);
    connect(&m_olderTray, &X11Tray::appeared, &m_grace, qOverload<>(&QTimer::start));
    followWatcher();
    ask();
}

void TrayHost::followWatcher() {
    auto* owners = new QDBusServiceWatcher(watcherName, m_bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(owners, &QDBusServiceWatcher::serviceRegistered, this, &TrayHost::ask);
    connect(owners, &QDBusServiceWatcher::serviceUnregistered, this, [this] { setHasHost(false); });
    for (const char* signal : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"}) {
        m_bus.connect(watcherName, watcherPath, watcherInterface, QString::fromLatin1(signal), this, SLOT(ask()));
    }
}

void TrayHost::ask() {
    QDBusMessage question = QDBusMessage::createMethodCall(
        watcherName, watcherPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    question << watcherInterface << QStringLiteral("IsStatusNotifierHostRegistered");
    callOnBus(m_bus, question, m_timeout, this, [this](const QDBusMessage& reply) { takeAnswer(reply); });
}

void TrayHost::takeAnswer(const QDBusMessage& reply) {
    // An error has a text instead.
    const auto answer = reply.arguments().value(0).value<QDBusVariant>();
    setHasHost(answer.variant().toBool());
    settle();
}

void TrayHost::setHasHost(bool hasHost) {
    if (!std::exchange(m_hasHost, hasHost) && hasHost) {
        Q_EMIT appeared();
    }
}

void TrayHost::settle() {
    if (m_isSettled) {
        return;
    }
    m_isSettled = true;
    if (m_olderTray.isPresent()) {
        m_grace.start();
    }
    Q_EMIT settled();
}

void TrayHost::considerOlderTray() {
    if (!m_hasHost && m_olderTray.isPresent()) {
        Q_EMIT appeared();
    }
}

} // namespace driftwell
