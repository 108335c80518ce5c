import QtQuick
import QtQuick.Controls.Basic
import Driftwell

AbstractButton {
    id: button

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: 28
    leftPadding: 10
    rightPadding: 10
    hoverEnabled: true
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    contentItem: AppText {
        text: button.text
        size: 12.5
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
    FocusRing {
        shown: button.visualFocus
        radius: 10
    }
}
