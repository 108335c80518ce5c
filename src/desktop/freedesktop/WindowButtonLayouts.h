#pragma once

#include "desktop/WindowManager.h"

#include <QString>

#include <optional>

/// Where a desktop has the buttons of a title bar, in the notations of those that say so. What is in them besides the
/// three buttons of a window, a menu or a gap, is passed over.
namespace driftwell {

/// GNOME's `button-layout` (gsettings, org.gnome.desktop.wm.preferences): names separated by commas, a colon between
/// the sides, "appmenu:minimize,close".
[[nodiscard]] WindowButtons gnomeButtons(const QString& layout);

/// Xfwm4's `/general/button_layout` (xfconf): a letter for each, the title between the sides, "O|SHMC".
[[nodiscard]] WindowButtons xfwmButtons(const QString& layout);

/// KWin's `ButtonsOnLeft` and `ButtonsOnRight` (kwinrc, org.kde.kdecoration2): a letter for each, "MS" and "HIAX" where
/// they are absent.
[[nodiscard]] WindowButtons kwinButtons(const std::optional<QString>& left, const std::optional<QString>& right);

} // namespace driftwell
