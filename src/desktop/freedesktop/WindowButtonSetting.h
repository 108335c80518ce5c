#pragma once

#include "desktop/WindowManager.h"

#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>

#include <chrono>

namespace driftwell {

/// Where the person's desktop has the buttons of a title bar, followed while the application runs.
///
/// Each desktop is asked for its own (XDG_CURRENT_DESKTOP): Xfce for xfwm4's property in xfconf, KDE for the file
/// kwinrc, all others for GNOME's setting, of the desktop portal. Where nobody says, they stand on the left.
class WindowButtonSetting final : public QObject {
    Q_OBJECT

public:
    /// `timeout` is how long another program has to answer.
    WindowButtonSetting(QDBusConnection bus, std::chrono::milliseconds timeout);

    [[nodiscard]] WindowButtons value() const { return m_value; }

    /// Where nobody says.
    [[nodiscard]] static WindowButtons usual();

Q_SIGNALS:
    void changed();

private Q_SLOTS:
    void followXfconf(const QString& channel, const QString& property, const QDBusVariant& value);
    void forgetXfconf(const QString& channel, const QString& property);
    void readKwin();

private:
    void readXfconf();
    void followPortal();
    void set(const WindowButtons& buttons);

    QDBusConnection m_bus;
    std::chrono::milliseconds m_timeout;
    WindowButtons m_value = usual();
};

} // namespace driftwell
