import QtQuick
import Driftwell

// The shape behind content that stands out from the canvas.
Outline {
    property bool strong: false

    radius: 12
    color: DW.card
    border.color: strong ? DW.borderStrong : DW.border

    // The software renderer has no blur: the shadow is two faint outlines, one pixel down.
    Repeater {
        model: 2

        Rectangle {
            required property int index

            z: -1
            anchors.fill: parent
            anchors.margins: -index
            anchors.topMargin: 1 - index
            anchors.bottomMargin: -1 - index
            radius: 12 + index
            color: "transparent"
            border.width: 1
            border.color: "black"
            opacity: 0.03
        }
    }
}
