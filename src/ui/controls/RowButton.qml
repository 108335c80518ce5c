import QtQuick
import Driftwell

// What can be done with the row that it stands in.
Pressable {
    id: button

    // What is done most.
    property bool prominent: false
    property string symbol: ""
    readonly property int ink: prominent ? Tone.OnAccent : Tone.Primary

    implicitWidth: Math.ceil(implicitContentWidth) + leftPadding + rightPadding
    implicitHeight: 28
    leftPadding: 10
    rightPadding: 10

    contentItem: Item {
        implicitWidth: face.width
        implicitHeight: face.height
    }
    background: Rectangle {
        radius: 7
        color: button.prominent ? DW.accent : DW.textPrimary
        opacity: button.prominent ? 1 : button.down ? 0.18 : button.hovered ? 0.12 : 0.06

        Rectangle {
            anchors.fill: parent
            visible: button.prominent
            radius: parent.radius
            color: "white"
            opacity: button.down ? 0.16 : button.hovered ? 0.07 : 0
        }
    }
    Row {
        id: face

        anchors.centerIn: parent
        spacing: 5

        Symbol {
            anchors.verticalCenter: parent.verticalCenter
            visible: button.symbol !== ""
            name: button.symbol
            size: 12
            tone: button.ink
        }
        AppText {
            anchors.verticalCenter: parent.verticalCenter
            text: button.text
            textStyle: TextStyle.Callout
            font.weight: Font.Medium
            tone: button.ink
            Accessible.ignored: true
        }
    }
}
