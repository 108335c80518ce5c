#include "desktop/freedesktop/BusCall.h"

#include "support/EventLoop.h"

#include <QDBusError>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QPointer>

namespace driftwell {

void callOnBus(const QDBusConnection& bus, const QDBusMessage& call, std::chrono::milliseconds timeout,
               QObject* context, std::function<void(const QDBusMessage& reply)> done) {
    // Without a bus Qt would not answer at all.
    if (!bus.isConnected()) {
        const QDBusMessage reply = QDBusMessage::createError(QDBusError::Disconnected, QStringLiteral("no bus"));
        EventLoop::current()->post([context = QPointer(context), done = std::move(done), reply] {
            if (context) {
                done(reply);
            }
        });
        return;
    }
    const QDBusPendingCall pending = bus.asyncCall(call, static_cast<int>(timeout.count()));
    auto* watcher = new QDBusPendingCallWatcher(pending, context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context, [watcher, done = std::move(done)] {
        watcher->deleteLater();
        done(watcher->reply());
    });
}

} // namespace driftwell
