import QtQuick
import Driftwell

PlainField {
    id: field

    // Down was pressed: what is filtered is wanted.
    signal wentOn

    implicitWidth: 230
    implicitHeight: 30
    leftPadding: 30
    rightPadding: 28
    textStyle: TextStyle.Callout
    Accessible.name: placeholderText
    Keys.onEscapePressed: event => {
        event.accepted = text !== "";
        clear();
    }
    Keys.onDownPressed: wentOn()

    background: Outline {
        radius: 8
        color: DW.surfaceSubtle
        stroke: field.activeFocus ? 2 : 1
        border.color: field.activeFocus ? DW.accent : DW.border
    }
    Symbol {
        x: 8
        anchors.verticalCenter: parent.verticalCenter
        name: "magnifyingglass"
        tone: Tone.Faint
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
