#pragma once

#include "desktop/WindowManager.h"

#include <vector>

namespace driftwell::tests {

/// A window manager that remembers what it was asked, and has the buttons where the test says.
class FakeWindowManager final : public WindowManager {
public:
    [[nodiscard]] WindowButtons buttons() const override { return m_buttons; }
    void setButtons(const WindowButtons& buttons) {
        m_buttons = buttons;
        Q_EMIT buttonsChanged();
    }

    /// From now on it has a menu of its own.
    void offerMenu() { m_hasMenu = true; }
    [[nodiscard]] const std::vector<QPoint>& menus() const { return m_menus; }
    [[nodiscard]] bool showMenu(QWindow&, QPoint at) override {
        if (m_hasMenu) {
            m_menus.push_back(at);
        }
        return m_hasMenu;
    }

    void allowMoveFromMenu() { m_canMove = true; }
    [[nodiscard]] int moves() const { return m_moves; }
    [[nodiscard]] bool canMoveFromMenu() const override { return m_canMove; }
    void moveFromMenu(QWindow&) override { ++m_moves; }
    [[nodiscard]] int resizes() const { return m_resizes; }
    void resizeFromMenu(QWindow&) override { ++m_resizes; }

private:
    WindowButtons m_buttons{.left = {WindowButton::Close, WindowButton::Minimize, WindowButton::Maximize}, .right = {}};
    bool m_hasMenu = false;
    bool m_canMove = false;
    std::vector<QPoint> m_menus;
    int m_moves = 0;
    int m_resizes = 0;
};

} // namespace driftwell::tests
