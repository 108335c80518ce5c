#include "desktop/freedesktop/WindowActivation.h"

#include "desktop/freedesktop/X11Connection.h"
#include "desktop/freedesktop/X11Startup.h"

#include <QGuiApplication>
#include <QWindow>

namespace driftwell {

namespace {

bool isOrdinary(const QWindow* window) {
    return window && window->isVisible() && window->type() == Qt::Window;
}

void useStartupId(QWindow& window, const QByteArray& id) {
    if (const std::optional<xcb_timestamp_t> time = x11::timeOfStartup(id)) {
        x11::activate(window, *time);
    }
    x11::finishStartup(id, window);
}

} // namespace

void bringForward(QWindow& window, const QByteArray& token) {
    if (!token.isEmpty() && !x11::isInUse()) {
        // Where Qt's Wayland plugin looks for it when it activates a window.
        qputenv("XDG_ACTIVATION_TOKEN", token);
    }
    if (window.windowStates().testFlag(Qt::WindowMinimized)) {
        window.setWindowStates(window.windowStates() & ~Qt::WindowMinimized);
    }
    // Unlike show(), this leaves a maximized window maximized.
    window.setVisible(true);
    window.raise();
    window.requestActivate();
    if (!token.isEmpty()) {
        useStartupId(window, token);
    }
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
