#include "desktop/freedesktop/GtkTheme.h"

#include <QSettings>
#include <QStandardPaths>
#include <QString>

namespace driftwell {

namespace {

bool isNameOfDarkTheme(const QString& name) {
    return name.endsWith(QLatin1StringView("dark"), Qt::CaseInsensitive);
}

} // namespace

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

} // namespace driftwell
