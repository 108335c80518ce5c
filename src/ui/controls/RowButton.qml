import QtQuick
import Driftwell

// What can be done with the row that it stands in.
Pressable {
    id: button

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: 28
    leftPadding: 10
    rightPadding: 10

    contentItem: AppText {
        text: button.text
        textStyle: TextStyle.Callout
        font.weight: Font.Medium
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        Accessible.ignored: true
    }
    background: Rectangle {
        radius: 7
        color: DW.textPrimary
        opacity: button.down ? 0.18 : button.hovered ? 0.12 : 0.06
    }
}
