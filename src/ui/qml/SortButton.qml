import QtQuick
import QtQuick.Controls.Basic
import Driftwell

AbstractButton {
    id: button

    required property bool active

    implicitHeight: 26
    implicitWidth: implicitContentWidth + 4
    hoverEnabled: true
    Accessible.name: "Sort by " + text
    Accessible.description: active ? "Current order" : ""
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    contentItem: Row {
        spacing: 4

        AppText {
            anchors.verticalCenter: parent.verticalCenter
            text: button.text
            size: 12
            font.weight: Font.Medium
            color: button.active || button.hovered ? DW.textPrimary : DW.textSecondary
            Accessible.ignored: true
        }
        Symbol {
            anchors.verticalCenter: parent.verticalCenter
            opacity: button.active ? 1 : 0
            name: "arrow.up"
            size: 12
            color: DW.textPrimary
        }
    }
    FocusRing {
        shown: button.visualFocus
        radius: 7
    }
}
