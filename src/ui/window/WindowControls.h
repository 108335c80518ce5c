#pragma once

#include <QObject>
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

public:
    /// `window` outlives the controls.
    explicit WindowControls(QWindow& window);

    [[nodiscard]] bool isMaximized() const { return m_window.visibility() == QWindow::Maximized; }
    /// Neither maximised nor full-screen.
    [[nodiscard]] bool isResizable() const { return m_window.visibility() == QWindow::Windowed; }

    Q_INVOKABLE void close() { m_window.close(); }
    Q_INVOKABLE void minimize() { m_window.showMinimized(); }
    Q_INVOKABLE void toggleMaximized();
    Q_INVOKABLE void startMove();
    /// `edges` is one edge, or two that meet.
    Q_INVOKABLE void startResize(Qt::Edges edges);

Q_SIGNALS:
    void changed();
    /// The window manager has taken the pointer for a move or a change of size.
    void pointerTaken();

private:
    void endPress();

    QWindow& m_window;
};

} // namespace driftwell
