#pragma once

#include "ui/tray/TrayTexts.h"

#include <QIcon>

namespace driftwell {

/// What the tray item shows: the glyph, or a warning. Both are of colours that are seen on dark and on light panels,
/// since nothing tells which one it is.
///
/// `developmentCopy` chooses the glyph by which a developer tells the two copies apart. `opacity` is from 0.0 to 1.0.
[[nodiscard]] QIcon trayIcon(TrayIconKind icon, bool developmentCopy, double opacity);

} // namespace driftwell
