#include "ui/window/WindowControls.h"

namespace driftwell {

WindowControls::WindowControls(QWindow& window) : m_window(window) {
    connect(&window, &QWindow::visibilityChanged, this, &WindowControls::changed);
}

void WindowControls::toggleMaximized() {
    if (isMaximized()) {
        m_window.showNormal();
    } else {
        m_window.showMaximized();
    }
}

} // namespace driftwell
