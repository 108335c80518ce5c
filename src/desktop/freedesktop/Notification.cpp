#include "desktop/freedesktop/Notification.h"

#include "desktop/freedesktop/BusCall.h"

#include <QCoreApplication>
#include <QGuiApplication>

namespace driftwell {

namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString objectPath = QStringLiteral("/org/freedesktop/Notifications");
const QString interface = QStringLiteral("org.freedesktop.Notifications");

QDBusMessage call(const QString& method, const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createMethodCall(service, objectPath, interface, method);
    message.setArguments(arguments);
    return message;
}

QDBusMessage notifyCall(const Notification::Content& content) {
    constexpr uint replacesNone = 0;
    constexpr int asLongAsUsual = -1;
    QStringList actions;
    for (const Notification::Action& action : content.actions) {
        actions << action.key << action.label;
    }
    const QString application = QGuiApplication::desktopFileName();
    const QVariantMap hints{{QStringLiteral("desktop-entry"), application}};
    return call(QStringLiteral("Notify"), {QGuiApplication::applicationDisplayName(), replacesNone, application,
                                           content.title, content.text, actions, hints, asLongAsUsual});
}

void close(const QDBusConnection& bus, uint id) {
    bus.send(call(QStringLiteral("CloseNotification"), {id}));
}

} // namespace

Notification::Notification(QDBusConnection bus, std::chrono::milliseconds timeout, const Content& content)
    : m_bus(std::move(bus)) {
    listen();
    send(timeout, content);
}

Notification::~Notification() {
    if (m_isLeft) {
        return;
    }
    m_shown->isWithdrawn = true;
    if (m_shown->id != 0) {
        close(m_bus, m_shown->id);
    }
}

void Notification::listen() {
    const auto follow = [this](const char* signal, const char* slot) {
        m_bus.connect(service, objectPath, interface, QString::fromLatin1(signal), this, slot);
    };
    follow("ActivationToken", SLOT(rememberToken(uint, QString)));
    follow("ActionInvoked", SLOT(takeAction(uint, QString)));
    follow("NotificationClosed", SLOT(forget(uint)));
}

void Notification::send(std::chrono::milliseconds timeout, const Content& content) {
    // The answer is waited for even when the notification has ended meanwhile: what it is about would stay on screen.
    callOnBus(m_bus, notifyCall(content), timeout, qApp, [bus = m_bus, shown = m_shown](const QDBusMessage& reply) {
        if (reply.type() == QDBusMessage::ErrorMessage) {
            return;
        }
        shown->id = reply.arguments().value(0).toUInt();
        if (shown->isWithdrawn) {
            close(bus, shown->id);
        }
    });
}

bool Notification::isThis(uint id) const {
    return id != 0 && id == m_shown->id;
}

void Notification::rememberToken(uint id, const QString& token) {
    if (isThis(id)) {
        m_activationToken = token.toUtf8();
    }
}

void Notification::takeAction(uint id, const QString& key) {
    if (isThis(id)) {
        Q_EMIT actionChosen(key, m_activationToken);
    }
}

void Notification::forget(uint id) {
    if (isThis(id)) {
        m_shown->id = 0;
    }
}

} // namespace driftwell
