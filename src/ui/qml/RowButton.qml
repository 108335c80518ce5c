import QtQuick
import QtQuick.Controls.Basic
import Driftwell

AbstractButton {
    id: button

    implicitWidth: title.implicitWidth + 20
    implicitHeight: 28
    hoverEnabled: true
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    contentItem: AppText {
        id: title

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
