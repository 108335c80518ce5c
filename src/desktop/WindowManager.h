#pragma once

#include <QList>
#include <QObject>
#include <QPoint>

class QWindow;

namespace driftwell {

/// A button of a window's title bar.
enum class WindowButton { Close, Minimize, Maximize };

/// The buttons of a title bar, each side from the left to the right. One that stands on no side is not shown.
struct WindowButtons {
    QList<WindowButton> left;
    QList<WindowButton> right;

    bool operator==(const WindowButtons&) const = default;
};

/// What a window that draws its own title bar asks of the desktop's window manager. An interface, so that the tests can
/// stand in for one. Used on the main thread; the owner outlives every call.
class WindowManager : public QObject {
    Q_OBJECT

public:
    /// Where the person's desktop has the buttons.
    [[nodiscard]] virtual WindowButtons buttons() const = 0;

    /// Opens the desktop's own menu for the window at a point of it, in the window's units. Does nothing and gives
    /// false where the desktop has none to open; the window shows one of its own then.
    [[nodiscard]] virtual bool showMenu(QWindow& window, QPoint at) = 0;

    /// Whether moveFromMenu() and resizeFromMenu() do anything here.
    [[nodiscard]] virtual bool canMoveFromMenu() const = 0;

    /// The window follows the pointer and the arrow keys from now on, until a click or Return.
    virtual void moveFromMenu(QWindow& window) = 0;

    /// The same for an edge of the window, which the first movement chooses.
    virtual void resizeFromMenu(QWindow& window) = 0;

Q_SIGNALS:
    void buttonsChanged();
};

} // namespace driftwell
