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
        onDoubleClicked: strip.window.toggleMaximized()
    }
    WindowButtons {
        x: 8
        anchors.verticalCenter: parent.verticalCenter
        window: strip.window
    }
}
