#include "desktop/freedesktop/ColorSchemeSetting.h"

#include "desktop/freedesktop/BusCall.h"
#include "desktop/freedesktop/Portal.h"

#include <QDBusError>
#include <QDBusServiceWatcher>
#include <QEvent>
#include <QGuiApplication>
#include <QPalette>
#include <QSettings>
#include <QStandardPaths>

namespace driftwell {

namespace {

const QString settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString appearanceGroup = QStringLiteral("org.freedesktop.appearance");
const QString colorSchemeKey = QStringLiteral("color-scheme");
const QString readMethod = QStringLiteral("ReadOne");
/// What portals of version 1 have instead.
const QString olderReadMethod = QStringLiteral("Read");

std::optional<ColorScheme> overrideOfEnvironment() {
    const QByteArray value = qgetenv("DRIFTWELL_COLOR_SCHEME");
    if (value == "dark") {
        return ColorScheme::Dark;
    }
    return value == "light" ? std::optional(ColorScheme::Light) : std::nullopt;
}

std::optional<ColorScheme> preferenceIn(const QVariant& answer) {
    const QVariant value = portal::unwrapped(answer);
    if (value.typeId() != QMetaType::UInt) {
        return std::nullopt;
    }
    switch (value.toUInt()) {
    case 1:
        return ColorScheme::Dark;
    case 2:
        return ColorScheme::Light;
    default:
        return std::nullopt;
    }
}

bool isNameOfDarkTheme(const QString& name) {
    return name.endsWith(QLatin1StringView("dark"), Qt::CaseInsensitive);
}

/// Whether the GTK theme that the person has chosen is a dark one, for desktops that say it in no other way: by the
/// environment variable GTK_THEME ("NAME" or "NAME:dark"), else by gtk-3.0/settings.ini in the person's configuration
/// folder (GtkSettings: gtk-application-prefer-dark-theme, gtk-theme-name). By convention a dark theme's name ends in
/// "dark".
bool gtkThemeIsDark() {
    const QString chosen = qEnvironmentVariable("GTK_THEME");
    if (!chosen.isEmpty()) {
        return isNameOfDarkTheme(chosen);
    }
    const QString configuration = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    const QSettings settings(configuration + QStringLiteral("/gtk-3.0/settings.ini"), QSettings::IniFormat);
    return settings.value(QStringLiteral("Settings/gtk-application-prefer-dark-theme")).toBool() ||
           isNameOfDarkTheme(settings.value(QStringLiteral("Settings/gtk-theme-name")).toString());
}

ColorScheme schemeOfTheme() {
    const QPalette palette = QGuiApplication::palette();
    const bool isDark = palette.window().color().lightness() < palette.windowText().color().lightness();
    return isDark || gtkThemeIsDark() ? ColorScheme::Dark : ColorScheme::Light;
}

} // namespace

ColorSchemeSetting::ColorSchemeSetting(QDBusConnection bus, std::chrono::milliseconds timeout)
    : m_bus(std::move(bus)),
      m_timeout(timeout),
      m_override(overrideOfEnvironment()),
      m_value(m_override ? *m_override : schemeOfTheme()),
      m_isSettled(m_override.has_value()) {
    if (!m_override) {
        qApp->installEventFilter(this);
        followPortal();
    }
}

bool ColorSchemeSetting::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::ApplicationPaletteChange && watched == qApp) {
        update();
    }
    return QObject::eventFilter(watched, event);
}

void ColorSchemeSetting::followPortal() {
    // Qt finds the types of a slot by their names, and this one's is known only after its first use.
    qRegisterMetaType<QDBusVariant>();
    if (!m_bus.connect(portal::service(), portal::objectPath(), settingsInterface, QStringLiteral("SettingChanged"),
                       this, SLOT(portalSettingChanged(QString, QString, QDBusVariant))) &&
        m_bus.isConnected()) {
        qWarning("Changes of the desktop's colours are not followed: %s", qUtf8Printable(m_bus.lastError().message()));
    }
    auto* arrivals = new QDBusServiceWatcher(portal::service(), m_bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(arrivals, &QDBusServiceWatcher::serviceRegistered, this, [this] { readPortal(readMethod); });
    readPortal(readMethod);
}

void ColorSchemeSetting::portalSettingChanged(const QString& group, const QString& key, const QDBusVariant& value) {
    if (group == appearanceGroup && key == colorSchemeKey) {
        setPortalPreference(preferenceIn(value.variant()));
    }
}

void ColorSchemeSetting::readPortal(const QString& method) {
    const QDBusMessage question = portal::call(settingsInterface, method, {appearanceGroup, colorSchemeKey});
    callOnBus(m_bus, question, m_timeout, this, [this, method](const QDBusMessage& reply) {
        if (QDBusError(reply).type() == QDBusError::UnknownMethod && method != olderReadMethod) {
            readPortal(olderReadMethod);
            return;
        }
        // A portal that fails says nothing about the desktop; what it said before still holds.
        if (reply.type() != QDBusMessage::ErrorMessage) {
            setPortalPreference(preferenceIn(reply.arguments().value(0)));
        }
        settle();
    });
}

void ColorSchemeSetting::setPortalPreference(std::optional<ColorScheme> preference) {
    m_portalPreference = preference;
    update();
}

void ColorSchemeSetting::settle() {
    if (!m_isSettled) {
        m_isSettled = true;
        Q_EMIT settled();
    }
}

void ColorSchemeSetting::update() {
    const ColorScheme value = m_portalPreference ? *m_portalPreference : schemeOfTheme();
    if (value != m_value) {
        m_value = value;
        Q_EMIT changed();
    }
}

} // namespace driftwell
