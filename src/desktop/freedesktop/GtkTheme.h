#pragma once

namespace driftwell {

/// Whether the GTK theme that the person has chosen is a dark one, for desktops that say it in no other way: by the
/// environment variable GTK_THEME ("NAME" or "NAME:dark"), else by gtk-3.0/settings.ini in the person's configuration
/// folder (GtkSettings: gtk-application-prefer-dark-theme, gtk-theme-name). By convention a dark theme's name ends in
/// "dark".
[[nodiscard]] bool gtkThemeIsDark();

} // namespace driftwell
