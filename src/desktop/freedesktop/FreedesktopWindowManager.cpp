#include "desktop/freedesktop/FreedesktopWindowManager.h"

#include "desktop/freedesktop/X11WindowMenu.h"

#include <utility>

namespace driftwell {

FreedesktopWindowManager::FreedesktopWindowManager(QDBusConnection sessionBus, std::chrono::milliseconds timeout)
    : m_buttons(std::move(sessionBus), timeout) {
    connect(&m_buttons, &WindowButtonSetting::changed, this, &WindowManager::buttonsChanged);
}

bool FreedesktopWindowManager::showMenu(QWindow& window, QPoint at) {
    return x11::showWindowMenu(window, at);
}

bool FreedesktopWindowManager::canMoveFromMenu() const {
    return x11::canMoveByKeyboard();
}

void FreedesktopWindowManager::moveFromMenu(QWindow& window) {
    x11::moveByKeyboard(window);
}

void FreedesktopWindowManager::resizeFromMenu(QWindow& window) {
    x11::resizeByKeyboard(window);
}

} // namespace driftwell
