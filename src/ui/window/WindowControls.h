#pragma once

#include "desktop/WindowManager.h"

#include <QList>
#include <QObject>
#include <QPointF>
#include <QtQml/qqmlregistration.h>
#include <QWindow>

namespace driftwell {

/// What a title bar does with its window. Moving, snapping and resizing are left to the window manager.
class WindowControls final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made with the window")
    Q_PROPERTY(bool maximized READ isMaximized NOTIFY changed)
    Q_PROPERTY(bool resizable READ isResizable NOTIFY changed)
    Q_PROPERTY(QList<int> leftButtons READ leftButtons NOTIFY buttonsChanged)
    Q_PROPERTY(QList<int> rightButtons READ rightButtons NOTIFY buttonsChanged)

public:
    enum Button {
        Close = static_cast<int>(WindowButton::Close),
        Minimize = static_cast<int>(WindowButton::Minimize),
        Maximize = static_cast<int>(WindowButton::Maximize),
    };
    Q_ENUM(Button)

    /// Both outlive the controls.
    WindowControls(QWindow& window, WindowManager& manager);

    [[nodiscard]] bool isMaximized() const { return m_window.visibility() == QWindow::Maximized; }
    /// Neither maximised nor full-screen.
    [[nodiscard]] bool isResizable() const { return m_window.visibility() == QWindow::Windowed; }

    /// Of type Button, from the left to the right.
    [[nodiscard]] QList<int> leftButtons() const;
    [[nodiscard]] QList<int> rightButtons() const;

    Q_INVOKABLE void close() { m_window.close(); }
    Q_INVOKABLE void minimize() { m_window.showMinimized(); }
    Q_INVOKABLE void toggleMaximized();
    Q_INVOKABLE void startMove();
    /// `edges` is one edge, or two that meet.
    Q_INVOKABLE void startResize(Qt::Edges edges);
    /// Opens the desktop's menu for the window, at a point of it; false where there is none.
    Q_INVOKABLE bool showDesktopMenu(QPointF at);
    /// Whether moveFromMenu() and resizeFromMenu() do anything here.
    Q_INVOKABLE bool canMoveFromMenu() const;
    /// The window follows the pointer until a click.
    Q_INVOKABLE void moveFromMenu();
    /// The same for one of its edges.
    Q_INVOKABLE void resizeFromMenu();

Q_SIGNALS:
    void changed();
    void buttonsChanged();
    /// The window manager has taken the pointer for a move or a change of size.
    void pointerTaken();

private:
    void endPress();

    QWindow& m_window;
    WindowManager& m_manager;
};

} // namespace driftwell
