#include "ui/window/WindowControls.h"

#include <QCoreApplication>
#include <QMouseEvent>

namespace driftwell {

WindowControls::WindowControls(QWindow& window) : m_window(window) {
    connect(&window, &QWindow::visibilityChanged, this, &WindowControls::changed);
    // Later: it begins in the middle of a handler of the press.
    connect(this, &WindowControls::pointerTaken, this, &WindowControls::endPress, Qt::QueuedConnection);
}

void WindowControls::toggleMaximized() {
    if (isMaximized()) {
        m_window.showNormal();
    } else {
        m_window.showMaximized();
    }
}

void WindowControls::startMove() {
    m_window.startSystemMove();
    Q_EMIT pointerTaken();
}

void WindowControls::startResize(Qt::Edges edges) {
    m_window.startSystemResize(edges);
    Q_EMIT pointerTaken();
}

void WindowControls::endPress() {
    // A Wayland compositor keeps the release of the button to itself, and what was pressed would stay so: the next
    // press there would be none. Beside the window, so that it is no click.
    const QPointF outside(-1, -1);
    QMouseEvent release(QEvent::MouseButtonRelease, outside, outside, outside, Qt::LeftButton, Qt::NoButton,
                        Qt::NoModifier);
    QCoreApplication::sendEvent(&m_window, &release);
}

} // namespace driftwell
