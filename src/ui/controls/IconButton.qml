import QtQuick
import Driftwell

// A button that is only a symbol; its words are for the pointer that rests on it and for who cannot see it.
Pressable {
    id: button

    required property string symbol
    required property string label
    property real size: 13

    implicitWidth: 28
    implicitHeight: 28
    tip: label
    ringDistance: 1
    ringRadius: 8
    Accessible.name: label

    contentItem: Symbol {
        name: button.symbol
        size: button.size
        tone: button.hovered ? Tone.Primary : Tone.Muted
    }
    background: Rectangle {
        radius: 7
        color: DW.textPrimary
        opacity: button.down ? 0.14 : button.hovered ? 0.07 : 0
    }
}
