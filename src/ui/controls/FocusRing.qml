import QtQuick
import Driftwell

// Shows where the keyboard is.
Rectangle {
    required property bool shown

    anchors.fill: parent
    anchors.margins: -3
    visible: shown
    color: "transparent"
    border.color: DW.accent
    border.width: 2
    Accessible.ignored: true
}
