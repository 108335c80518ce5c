import QtQuick
import QtQuick.Controls.Basic
import Driftwell

TextField {
    id: field

    implicitHeight: 32
    leftPadding: 10
    rightPadding: 10
    topPadding: 0
    bottomPadding: 0
    verticalAlignment: TextInput.AlignVCenter
    color: DW.textPrimary
    placeholderTextColor: DW.textTertiary
    selectionColor: DW.accent
    selectedTextColor: DW.dark ? DW.canvas : "white"
    font.pointSize: 13 * 0.75

    background: Rectangle {
        radius: 8
        color: DW.card
        border.width: field.activeFocus ? 2 : 1
        border.color: field.activeFocus ? DW.accent : DW.borderStrong
    }
}
