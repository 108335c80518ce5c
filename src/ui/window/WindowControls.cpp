#include "ui/window/WindowControls.h"

#include <QCoreApplication>
#include <QMouseEvent>

namespace driftwell {

namespace {

QList<int> numbersOf(const QList<WindowButton>& buttons) {
    QList<int> numbers;
    for (const WindowButton button : buttons) {
        numbers.append(static_cast<int>(button));
    }
    return numbers;
}

} // namespace

WindowControls::WindowControls(QWindow& window, WindowManager& manager) : m_window(window), m_manager(manager) {
    connect(&manager, &WindowManager::buttonsChanged, this, &WindowControls::buttonsChanged);
    connect(&window, &QWindow::visibilityChanged, this, &WindowControls::changed);
    // Later: it begins in the middle of a handler of the press.
    connect(this, &WindowControls::pointerTaken, this, &WindowControls::endPress, Qt::QueuedConnection);
}

QList<int> WindowControls::leftButtons() const {
    return numbersOf(m_manager.buttons().left);
}

QList<int> WindowControls::rightButtons() const {
    return numbersOf(m_manager.buttons().right);
}

bool WindowControls::showDesktopMenu(QPointF at) {
    return m_manager.showMenu(m_window, at.toPoint());
}

bool WindowControls::canMoveFromMenu() const {
    return m_manager.canMoveFromMenu();
}

void WindowControls::moveFromMenu() {
    m_manager.moveFromMenu(m_window);
}

void WindowControls::resizeFromMenu() {
    m_manager.resizeFromMenu(m_window);
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
