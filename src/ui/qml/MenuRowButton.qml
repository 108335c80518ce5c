import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Driftwell

AbstractButton {
    id: button

    required property string symbol
    property string shortcut: ""

    implicitHeight: 30
    leftPadding: 14
    rightPadding: 14
    hoverEnabled: true
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    contentItem: RowLayout {
        spacing: 8

        Symbol {
            name: button.symbol
            size: 14
            color: DW.textSecondary
        }
        AppText {
            Layout.fillWidth: true
            text: button.text
            size: 12.5
            Accessible.ignored: true
        }
        AppText {
            text: button.shortcut
            size: 10.5
            color: DW.textTertiary
            Accessible.ignored: true
        }
    }
    background: Rectangle {
        x: 6
        width: button.width - 12
        radius: 6
        color: DW.textPrimary
        opacity: button.hovered || button.visualFocus ? 0.07 : 0
    }
}
