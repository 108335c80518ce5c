import QtQuick
import Driftwell

// A button with words, and perhaps a symbol before them. The prominent one is what Return does.
Pressable {
    id: button

    property bool prominent: false
    property string symbol: ""
    // What the prominent one is filled with.
    property int fill: Tone.Accent
    // While the words change.
    property real faceOpacity: 1
    // The warning's colour is too light for white on either scheme.
    readonly property int ink: !prominent || (fill === Tone.Warning && !DW.dark) ? Tone.Primary : Tone.OnAccent

    implicitWidth: Math.ceil(implicitContentWidth) + leftPadding + rightPadding
    implicitHeight: 32
    leftPadding: 14
    rightPadding: 14
    opacity: enabled ? 1 : 0.45

    contentItem: Item {
        implicitWidth: face.width
        implicitHeight: face.height
    }
    background: Outline {
        radius: 7
        color: button.prominent ? DW.toneColor(button.fill, DW.dark) : DW.card
        stroke: button.prominent ? 0 : 1
        border.color: DW.borderStrong

        Rectangle {
            anchors.fill: parent
            radius: parent.radius
            color: button.prominent ? "white" : DW.textPrimary
            opacity: button.down ? 0.16 : button.hovered ? 0.07 : 0
        }
    }
    Row {
        id: face

        anchors.centerIn: parent
        opacity: button.faceOpacity
        spacing: 6

        Symbol {
            anchors.verticalCenter: parent.verticalCenter
            visible: button.symbol !== ""
            name: button.symbol
            tone: button.ink
        }
        AppText {
            anchors.verticalCenter: parent.verticalCenter
            text: button.text
            font.weight: Font.Medium
            tone: button.ink
            Accessible.ignored: true
        }
    }
}
