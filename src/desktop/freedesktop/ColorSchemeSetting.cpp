#include "desktop/freedesktop/ColorSchemeSetting.h"

#include "desktop/freedesktop/PortalSetting.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPalette>
#include <QSettings>
#include <QStandardPaths>

namespace driftwell {

namespace {

const QString appearanceGroup = QStringLiteral("org.freedesktop.appearance");
const QString colorSchemeKey = QStringLiteral("color-scheme");

std::optional<ColorScheme> overrideOfEnvironment() {
    const QByteArray value = qgetenv("DRIFTWELL_COLOR_SCHEME");
    if (value == "dark") {
        return ColorScheme::Dark;
    }
    return value == "light" ? std::optional(ColorScheme::Light) : std::nullopt;
}

std::optional<ColorScheme> preferenceIn(const QVariant& value) {
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
    : m_override(overrideOfEnvironment()),
      m_value(m_override ? *m_override : schemeOfTheme()),
      m_isSettled(m_override.has_value()) {
    if (!m_override) {
        qApp->installEventFilter(this);
        auto* const setting = new PortalSetting(std::move(bus), timeout, appearanceGroup, colorSchemeKey, this);
        connect(setting, &PortalSetting::told, this,
                [this](const QVariant& value) { setPortalPreference(preferenceIn(value)); });
        connect(setting, &PortalSetting::heard, this, &ColorSchemeSetting::settle);
    }
}

bool ColorSchemeSetting::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::ApplicationPaletteChange && watched == qApp) {
        update();
    }
    return QObject::eventFilter(watched, event);
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
