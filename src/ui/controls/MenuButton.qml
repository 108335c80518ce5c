import QtQuick
import Driftwell

// What is chosen now; it opens the menu of all that can be.
Pressable {
    id: button

    implicitWidth: Math.ceil(implicitContentWidth) + leftPadding + rightPadding
    implicitHeight: 28
    leftPadding: 8
    rightPadding: 6
    ringDistance: 1
    ringRadius: 8

    contentItem: Row {
        spacing: 3

        AppText {
            anchors.verticalCenter: parent.verticalCenter
            text: button.text
            textStyle: TextStyle.Callout
            font.weight: Font.Medium
            Accessible.ignored: true
        }
        Symbol {
            anchors.verticalCenter: parent.verticalCenter
            name: "chevron.down"
            size: 11
            tone: Tone.Muted
        }
    }
    background: Rectangle {
        radius: 7
        color: DW.textPrimary
        opacity: button.down ? 0.14 : button.hovered ? 0.07 : 0
    }
}
