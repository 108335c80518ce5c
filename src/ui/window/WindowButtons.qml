import QtQuick
import Driftwell

// Close, minimise and maximise, in the inset that the bar leaves for them.
Row {
    id: buttons

    required property WindowControls window

    spacing: 2

    IconButton {
        symbol: "window.close"
        label: "Close"
        implicitWidth: 24
        implicitHeight: 24
        focusPolicy: Qt.NoFocus
        onClicked: buttons.window.close()
    }
    IconButton {
        symbol: "window.minimize"
        label: "Minimize"
        implicitWidth: 24
        implicitHeight: 24
        focusPolicy: Qt.NoFocus
        onClicked: buttons.window.minimize()
    }
    IconButton {
        symbol: buttons.window.maximized ? "window.restore" : "window.maximize"
        label: buttons.window.maximized ? "Restore" : "Maximize"
        size: 11
        implicitWidth: 24
        implicitHeight: 24
        focusPolicy: Qt.NoFocus
        onClicked: buttons.window.toggleMaximized()
    }
}
