#pragma once

#include "desktop/freedesktop/X11Tray.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QTimer>

#include <chrono>

namespace driftwell {

/// Whether something on the desktop shows tray items, followed while the application runs: a host that is registered
/// with org.kde.StatusNotifierWatcher on the session bus (StatusNotifierItem), or a tray of the older kind.
///
/// Qt finds out once in the life of a process which kind there is, so none of its tray icons is to be made before one
/// of them has appeared. An icon that was made finds a host that comes back by itself.
class TrayHost : public QObject {
    Q_OBJECT

public:
    /// A panel that has both kinds may come up with the older one first.
    static constexpr std::chrono::seconds usualGrace{2};

    /// `timeout` is how long the watcher has to answer, `grace` how long a tray of the older kind stands alone before
    /// it is used.
    TrayHost(QDBusConnection bus, std::chrono::milliseconds timeout, std::chrono::milliseconds grace = usualGrace);

    /// False until it is settled, unless there is a tray of the older kind.
    [[nodiscard]] bool isPresent() const { return m_hasHost || m_olderTray.isPresent(); }

    /// Whether the session bus has answered, or nobody will.
    [[nodiscard]] bool isSettled() const { return m_isSettled; }

Q_SIGNALS:
    void settled();
    /// A tray icon that is made now is shown. Also when a tray comes back.
    void appeared();

private Q_SLOTS:
    void ask();

private:
    void followWatcher();
    void takeAnswer(const QDBusMessage& reply);
    void setHasHost(bool hasHost);
    void settle();
    void considerOlderTray();

    QDBusConnection m_bus;
    std::chrono::milliseconds m_timeout;
    X11Tray m_olderTray;
    QTimer m_grace;
    bool m_hasHost = false;
    bool m_isSettled = false;
};

} // namespace driftwell
