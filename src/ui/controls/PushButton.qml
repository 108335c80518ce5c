import QtQuick
import Driftwell

// A button with words, and perhaps a symbol before them. The prominent one is what Return does.
Pressable {
    id: button

    property bool prominent: false
    property string symbol: ""
    readonly property int ink: prominent ? Tone.OnAccent : Tone.Primary

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: 32
    leftPadding: 14
    rightPadding: 14
    opacity: enabled ? 1 : 0.45

    contentItem: Item {
        implicitWidth: face.width
        implicitHeight: face.height
    }
    background: Rectangle {
        radius: 7
        color: button.prominent ? DW.accent : DW.card
        border.width: button.prominent ? 0 : 1
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
