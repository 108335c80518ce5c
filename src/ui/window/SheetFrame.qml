import QtQuick
import Driftwell

// Keeps the window a window while a sheet covers it: its bar moves it and its buttons act, its edges resize it.
Item {
    id: frame

    required property ToolbarView toolbar
    required property WindowControls window

    // A popup lies on all that is in the window, but for what stands higher than its layer.
    readonly property real aboveSheets: 2000000

    z: aboveSheets
    Accessible.ignored: true

    TitleBarArea {
        width: frame.width
        height: frame.toolbar.height
        window: frame.window
        onClicked: mouse => {
            if (mouse.button === Qt.LeftButton)
                frame.toolbar.windowButtonAt(Qt.point(mouse.x, mouse.y))?.clicked();
        }
        onDoubleClicked: mouse => {
            if (mouse.button === Qt.LeftButton && !frame.toolbar.windowButtonAt(Qt.point(mouse.x, mouse.y)))
                frame.window.toggleMaximized();
        }
    }
    ResizeBorder {
        anchors.fill: parent
        window: frame.window
    }
}
