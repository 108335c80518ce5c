#pragma once

#include "desktop/freedesktop/WindowButtonSetting.h"
#include "desktop/WindowManager.h"

#include <QDBusConnection>

#include <chrono>

namespace driftwell {

/// The window manager of a freedesktop.org desktop. On X11 it shows its own menu where it says that it takes the
/// message for that. Qt 6.4 gives no way to ask a Wayland compositor for its menu, and a compositor begins no move and
/// no change of size without a button being held.
class FreedesktopWindowManager final : public WindowManager {
    Q_OBJECT

public:
    /// `timeout` is how long another program has to answer.
    FreedesktopWindowManager(QDBusConnection sessionBus, std::chrono::milliseconds timeout);

    [[nodiscard]] WindowButtons buttons() const override { return m_buttons.value(); }
    [[nodiscard]] bool showMenu(QWindow& window, QPoint at) override;
    [[nodiscard]] bool canMoveFromMenu() const override;
    void moveFromMenu(QWindow& window) override;
    void resizeFromMenu(QWindow& window) override;

private:
    WindowButtonSetting m_buttons;
};

} // namespace driftwell
