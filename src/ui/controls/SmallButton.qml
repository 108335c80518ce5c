import QtQuick
import Driftwell

// A button within a line of small text.
Pressable {
    id: button

    implicitWidth: Math.ceil(implicitContentWidth) + leftPadding + rightPadding
    implicitHeight: 26
    leftPadding: 9
    rightPadding: 9
    ringDistance: 2
    ringRadius: 9

    contentItem: CuttableText {
        text: button.text
        textStyle: TextStyle.Detail
        font.weight: Font.Medium
        elide: Text.ElideMiddle
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        Accessible.ignored: true
    }
    background: Outline {
        radius: 7
        color: DW.card
        border.color: DW.borderStrong

        Rectangle {
            anchors.fill: parent
            radius: parent.radius
            color: DW.textPrimary
            opacity: button.down ? 0.16 : button.hovered ? 0.07 : 0
        }
    }
}
