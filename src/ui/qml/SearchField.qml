import QtQuick
import QtQuick.Controls.Basic
import Driftwell

TextField {
    id: field

    implicitWidth: 230
    implicitHeight: 30
    leftPadding: 30
    rightPadding: 28
    topPadding: 0
    bottomPadding: 0
    verticalAlignment: TextInput.AlignVCenter
    color: DW.textPrimary
    placeholderTextColor: DW.textTertiary
    selectionColor: DW.accent
    selectedTextColor: DW.dark ? DW.canvas : "white"
    font.pointSize: 12.5 * 0.75
    Accessible.name: placeholderText
    Keys.onEscapePressed: event => {
        event.accepted = text !== "";
        clear();
    }

    background: Rectangle {
        radius: 8
        color: DW.surfaceSubtle
        border.width: field.activeFocus ? 2 : 1
        border.color: field.activeFocus ? DW.accent : DW.border
    }
    Symbol {
        x: 8
        anchors.verticalCenter: parent.verticalCenter
        name: "magnifyingglass"
        color: DW.textTertiary
    }
    IconButton {
        anchors.right: parent.right
        anchors.rightMargin: 3
        anchors.verticalCenter: parent.verticalCenter
        implicitWidth: 24
        implicitHeight: 24
        visible: field.text !== ""
        symbol: "xmark.circle.fill"
        label: "Clear filter"
        focusPolicy: Qt.TabFocus
        onClicked: field.clear()
    }
}
