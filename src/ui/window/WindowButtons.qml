pragma ComponentBehavior: Bound

import QtQuick
import Driftwell

// The window's buttons of one side of its bar, in the order in which the desktop has them.
Row {
    id: buttons

    required property WindowControls window
    required property list<int> order

    // For a press that does not reach the button itself; null beside them.
    function buttonAt(at: point): IconButton {
        return childAt(at.x, at.y) as IconButton;
    }

    function symbolOf(button: int): string {
        switch (button) {
        case WindowControls.Close:
            return "window.close";
        case WindowControls.Minimize:
            return "window.minimize";
        default:
            return window.maximized ? "window.restore" : "window.maximize";
        }
    }

    function labelOf(button: int): string {
        switch (button) {
        case WindowControls.Close:
            return "Close";
        case WindowControls.Minimize:
            return "Minimize";
        default:
            return window.maximized ? "Restore" : "Maximize";
        }
    }

    function act(button: int): void {
        switch (button) {
        case WindowControls.Close:
            return window.close();
        case WindowControls.Minimize:
            return window.minimize();
        default:
            return window.toggleMaximized();
        }
    }

    spacing: 2

    Repeater {
        model: buttons.order

        IconButton {
            required property int modelData

            symbol: buttons.symbolOf(modelData)
            label: buttons.labelOf(modelData)
            size: modelData === WindowControls.Maximize ? 11 : 13
            implicitWidth: 24
            implicitHeight: 24
            focusPolicy: Qt.NoFocus
            onClicked: buttons.act(modelData)
        }
    }
}
