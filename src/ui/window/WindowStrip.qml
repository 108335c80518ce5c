import QtQuick
import Driftwell

// The top of a window whose bar is not shown: it is moved by it, and has its buttons there.
Item {
    id: strip

    required property WindowControls window

    implicitHeight: 44

    TitleBarArea {
        anchors.fill: parent
        window: strip.window
        onDoubleClicked: mouse => {
            if (mouse.button === Qt.LeftButton)
                strip.window.toggleMaximized();
        }
    }
    WindowButtons {
        anchors { left: parent.left; leftMargin: 8; verticalCenter: parent.verticalCenter }
        window: strip.window
        order: window.leftButtons
    }
    WindowButtons {
        anchors { right: parent.right; rightMargin: 8; verticalCenter: parent.verticalCenter }
        window: strip.window
        order: window.rightButtons
    }
}
