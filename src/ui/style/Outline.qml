import QtQuick

// A stroke inside the edge, of whole pixels of the screen, so that it is equally wide on all sides.
Rectangle {
    property real stroke: 1

    color: "transparent"
    border.width: stroke > 0 ? Math.max(1, Math.round(stroke * Screen.devicePixelRatio)) / Screen.devicePixelRatio : 0
}
