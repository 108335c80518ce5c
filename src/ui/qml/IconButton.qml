import QtQuick
import QtQuick.Controls.Basic
import Driftwell

// A button that is only a symbol; its words are for the pointer that rests on it and for who cannot see it.
AbstractButton {
    id: button

    required property string symbol
    required property string label
    property real size: 16
    property bool tipShown: true

    implicitWidth: 28
    implicitHeight: 28
    hoverEnabled: true
    Accessible.name: label
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    contentItem: Symbol {
        name: button.symbol
        size: button.size
        color: button.hovered ? DW.textPrimary : DW.textSecondary
    }
    background: Rectangle {
        radius: 7
        color: DW.textPrimary
        opacity: button.down ? 0.14 : button.hovered ? 0.07 : 0
    }
    FocusRing {
        shown: button.visualFocus
        anchors.margins: -1
        radius: 8
    }
    Tip {
        text: button.label
        visible: button.tipShown && button.hovered
    }
}
