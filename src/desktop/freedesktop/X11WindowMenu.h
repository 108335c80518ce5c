#pragma once

#include <QPoint>

class QWindow;

// Where the application's windows are not on an X11 screen, or the window manager does not say that it knows the
// message, nothing is asked.
namespace driftwell::x11 {

/// Asks the window manager for its menu for a window, at a point of it in Qt's units (_GTK_SHOW_WINDOW_MENU, which
/// xfwm4, Mutter, KWin and others take). Gives whether it was asked.
[[nodiscard]] bool showWindowMenu(const QWindow& window, QPoint at);

/// Whether the window manager takes the message of the following two.
[[nodiscard]] bool canMoveByKeyboard();

/// Has the window manager move the window with the pointer and the arrow keys until a click or Return
/// (_NET_WM_MOVERESIZE, Extended Window Manager Hints).
void moveByKeyboard(const QWindow& window);

/// The same for its size: the first movement chooses the edge.
void resizeByKeyboard(const QWindow& window);

} // namespace driftwell::x11
