pragma ComponentBehavior: Bound

import QtQuick
import Driftwell

// The edges and corners by which a window without a frame is resized.
Item {
    id: border

    required property WindowControls window

    enabled: window.resizable
    z: 1000
    Accessible.ignored: true

    component Grip: MouseArea {
        required property int edges

        width: 5
        height: 5
        onPressed: border.window.startResize(edges)
    }

    Grip { edges: Qt.LeftEdge; cursorShape: Qt.SizeHorCursor; anchors { left: parent.left; top: parent.top; bottom: parent.bottom } }
    Grip { edges: Qt.RightEdge; cursorShape: Qt.SizeHorCursor; anchors { right: parent.right; top: parent.top; bottom: parent.bottom } }
    Grip { edges: Qt.TopEdge; cursorShape: Qt.SizeVerCursor; height: 4; anchors { top: parent.top; left: parent.left; right: parent.right } }
    Grip { edges: Qt.BottomEdge; cursorShape: Qt.SizeVerCursor; anchors { bottom: parent.bottom; left: parent.left; right: parent.right } }
    Grip { edges: Qt.LeftEdge | Qt.TopEdge; cursorShape: Qt.SizeFDiagCursor; width: 9; height: 9; anchors { left: parent.left; top: parent.top } }
    Grip { edges: Qt.RightEdge | Qt.BottomEdge; cursorShape: Qt.SizeFDiagCursor; width: 12; height: 12; anchors { right: parent.right; bottom: parent.bottom } }
    Grip { edges: Qt.RightEdge | Qt.TopEdge; cursorShape: Qt.SizeBDiagCursor; width: 9; height: 9; anchors { right: parent.right; top: parent.top } }
    Grip { edges: Qt.LeftEdge | Qt.BottomEdge; cursorShape: Qt.SizeBDiagCursor; width: 12; height: 12; anchors { left: parent.left; bottom: parent.bottom } }
}
