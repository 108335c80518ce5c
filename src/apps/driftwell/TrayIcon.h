#pragma once

#include "ui/tray/TrayTexts.h"

#include <QColor>
#include <QIcon>

namespace driftwell {

/// The one colour of the tray item in this state. Nothing tells whether the panel is dark or light, so the colour has a
/// contrast of at least 3 (WCAG 2.1, 1.4.11) on both kinds.
[[nodiscard]] QColor trayColor(TrayIconKind icon);

/// What the tray item shows: the glyph, or a warning.
///
/// `developmentCopy` chooses the glyph by which a developer tells the two copies apart. `opacity` is from 0.0 to 1.0.
[[nodiscard]] QIcon trayIcon(TrayIconKind icon, bool developmentCopy, double opacity);

/// How the glyph pulses during a deployment: slowly at both ends, from the full opacity to the faintest and back, in as
/// few steps as look even, since each step is a picture that is sent to the panel.
struct TrayPulse {
    static constexpr double faintest = 0.35;
    /// From the full opacity to the faintest, in milliseconds.
    static constexpr int duration = 800;
    static constexpr int levels = 8;

    /// `phase` is from 0.0 to 1.0, once there and back. From 0, the faintest, to `levels`.
    [[nodiscard]] static int level(double phase);
    [[nodiscard]] static double opacity(int level);
};

} // namespace driftwell
