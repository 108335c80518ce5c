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

    Item {
        width: frame.width
        height: frame.toolbar.height

        DragHandler {
            target: null
            onActiveChanged: if (active) frame.window.startMove()
        }
        TapHandler {
            acceptedButtons: Qt.LeftButton
            gesturePolicy: TapHandler.DragThreshold
            onTapped: eventPoint => frame.toolbar.windowButtonAt(eventPoint.position)?.clicked()
            onDoubleTapped: eventPoint => {
                if (!frame.toolbar.windowButtonAt(eventPoint.position))
                    frame.window.toggleMaximized();
            }
        }
    }
    ResizeBorder {
        anchors.fill: parent
        window: frame.window
    }
}
