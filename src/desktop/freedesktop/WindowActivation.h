#pragma once

#include <QByteArray>

class QWindow;

namespace driftwell {

/// Shows a window, above all others and with the keyboard, as far as the desktop allows. `token` is what another
/// program handed over so that it is allowed (the XDG activation protocol of Wayland); empty where there is none.
void bringForward(QWindow& window, const QByteArray& token = {});

/// The window that a dialog belongs to: the one with the keyboard, else any that is visible, no pop-ups. Null when
/// there is none.
[[nodiscard]] QWindow* applicationWindow();

} // namespace driftwell
