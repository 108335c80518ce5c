pragma ComponentBehavior: Bound

import QtQuick
import Driftwell

// What can be done with the window, where the desktop has no menu of its own for it.
ChoiceMenu {
    id: menu

    required property WindowControls window

    width: 168

    component MovingEntry: MenuEntry {
        readonly property bool possible: menu.window.canMoveFromMenu()

        visible: possible
        // The keyboard would reach what is only hidden.
        enabled: possible && menu.window.resizable
        height: implicitHeight
    }

    MenuEntry {
        text: menu.window.maximized ? "Restore" : "Maximize"
        onTriggered: menu.window.toggleMaximized()
    }
    MenuEntry {
        text: "Minimize"
        onTriggered: menu.window.minimize()
    }
    MovingEntry {
        text: "Move"
        onTriggered: menu.window.moveFromMenu()
    }
    MovingEntry {
        text: "Resize"
        onTriggered: menu.window.resizeFromMenu()
    }
    MenuDivider {}
    MenuEntry {
        text: "Close"
        onTriggered: menu.window.close()
    }
}
