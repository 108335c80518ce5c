#include "desktop/freedesktop/WindowButtonSetting.h"

#include "desktop/freedesktop/BusCall.h"
#include "desktop/freedesktop/Portal.h"
#include "desktop/freedesktop/PortalSetting.h"
#include "desktop/freedesktop/WindowButtonLayouts.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QSettings>
#include <QStandardPaths>

#include <utility>

namespace driftwell {

namespace {

const QString xfconf = QStringLiteral("org.xfce.Xfconf");
const QString xfconfPath = QStringLiteral("/org/xfce/Xfconf");
const QString xfwmChannel = QStringLiteral("xfwm4");
const QString xfwmProperty = QStringLiteral("/general/button_layout");
/// Of an xfwm4 to which nothing else was said.
const QString xfwmUsual = QStringLiteral("O|SHMC");

/// A key of KWin's configuration, that of the person first; absent where nobody has set it.
std::optional<QString> kwinValue(const QString& key) {
    const QStringList files =
        QStandardPaths::locateAll(QStandardPaths::GenericConfigLocation, QStringLiteral("kwinrc"));
    for (const QString& file : files) {
        QSettings settings(file, QSettings::IniFormat);
        settings.beginGroup(QStringLiteral("org.kde.kdecoration2"));
        if (settings.contains(key)) {
            return settings.value(key).toString();
        }
    }
    return std::nullopt;
}

bool isDesktop(const QString& name) {
    return qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':').contains(name, Qt::CaseInsensitive);
}

} // namespace

WindowButtonSetting::WindowButtonSetting(QDBusConnection bus, std::chrono::milliseconds timeout)
    : m_bus(std::move(bus)), m_timeout(timeout) {
    // Qt finds the types of a slot by their names, and this one's is known only after its first use.
    qRegisterMetaType<QDBusVariant>();
    if (isDesktop(QStringLiteral("XFCE"))) {
        m_bus.connect(xfconf, xfconfPath, xfconf, QStringLiteral("PropertyChanged"), this,
                      SLOT(followXfconf(QString, QString, QDBusVariant)));
        m_bus.connect(xfconf, xfconfPath, xfconf, QStringLiteral("PropertyRemoved"), this,
                      SLOT(forgetXfconf(QString, QString)));
        readXfconf();
    } else if (isDesktop(QStringLiteral("KDE"))) {
        m_bus.connect({}, QStringLiteral("/KWin"), QStringLiteral("org.kde.KWin"), QStringLiteral("reloadConfig"), this,
                      SLOT(readKwin()));
        readKwin();
    } else {
        followPortal();
    }
}

WindowButtons WindowButtonSetting::usual() {
    return {.left = {WindowButton::Close, WindowButton::Minimize, WindowButton::Maximize}, .right = {}};
}

void WindowButtonSetting::readXfconf() {
    QDBusMessage question = QDBusMessage::createMethodCall(xfconf, xfconfPath, xfconf, QStringLiteral("GetProperty"));
    question.setArguments({xfwmChannel, xfwmProperty});
    callOnBus(m_bus, question, m_timeout, this, [this](const QDBusMessage& reply) {
        const QVariant value = portal::unwrapped(reply.arguments().value(0));
        if (reply.type() != QDBusMessage::ErrorMessage && value.typeId() == QMetaType::QString) {
            set(xfwmButtons(value.toString()));
        } else if (reply.errorName().startsWith(xfconf)) {
            // It has no such property, which is so until the person chooses another layout.
            set(xfwmButtons(xfwmUsual));
        }
    });
}

void WindowButtonSetting::followXfconf(const QString& channel, const QString& property, const QDBusVariant& value) {
    if (channel == xfwmChannel && property == xfwmProperty) {
        set(xfwmButtons(value.variant().toString()));
    }
}

void WindowButtonSetting::forgetXfconf(const QString& channel, const QString& property) {
    if (channel == xfwmChannel && property == xfwmProperty) {
        set(xfwmButtons(xfwmUsual));
    }
}

void WindowButtonSetting::readKwin() {
    set(kwinButtons(kwinValue(QStringLiteral("ButtonsOnLeft")), kwinValue(QStringLiteral("ButtonsOnRight"))));
}

void WindowButtonSetting::followPortal() {
    auto* const setting = new PortalSetting(m_bus, m_timeout, QStringLiteral("org.gnome.desktop.wm.preferences"),
                                            QStringLiteral("button-layout"), this);
    connect(setting, &PortalSetting::told, this, [this](const QVariant& value) {
        if (value.typeId() == QMetaType::QString) {
            set(gnomeButtons(value.toString()));
        }
    });
}

void WindowButtonSetting::set(const WindowButtons& buttons) {
    if (m_value != buttons) {
        m_value = buttons;
        Q_EMIT changed();
    }
}

} // namespace driftwell
