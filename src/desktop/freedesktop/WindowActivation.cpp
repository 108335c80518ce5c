#include "desktop/freedesktop/WindowActivation.h"

#include <QGuiApplication>
#include <QWindow>

namespace driftwell {

namespace {

bool isOrdinary(const QWindow* window) {
    return window && window->isVisible() && window->type() == Qt::Window;
}

} // namespace

void bringForward(QWindow& window, const QByteArray& token) {
    if (!token.isEmpty()) {
        // Where Qt's Wayland plugin looks for it when it activates a window.
        qputenv("XDG_ACTIVATION_TOKEN", token);
    }
    if (window.windowStates().testFlag(Qt::WindowMinimized)) {
        window.setWindowStates(window.windowStates() & ~Qt::WindowMinimized);
    }
    window.show();
    window.raise();
    window.requestActivate();
}

QWindow* applicationWindow() {
    if (isOrdinary(QGuiApplication::focusWindow())) {
        return QGuiApplication::focusWindow();
    }
    for (QWindow* window : QGuiApplication::topLevelWindows()) {
        if (isOrdinary(window)) {
            return window;
        }
    }
    return nullptr;
}

} // namespace driftwell
