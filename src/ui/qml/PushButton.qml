import QtQuick
import QtQuick.Controls.Basic
import Driftwell

// A button with words, and perhaps a symbol before them. The prominent one is what Return does.
Button {
    id: button

    property bool prominent: false
    property string symbol: ""
    property string tip: ""
    property real size: 13
    readonly property color ink: prominent ? (DW.dark ? DW.canvas : "white") : DW.textPrimary

    implicitHeight: 32
    leftPadding: 14
    rightPadding: 14
    topPadding: 0
    bottomPadding: 0
    hoverEnabled: true
    opacity: enabled ? 1 : 0.45
    // Qt Quick does not tell assistive technology that a control is disabled.
    Accessible.description: enabled ? "" : "Unavailable"
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

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
        FocusRing {
            shown: button.visualFocus
            radius: parent.radius + 3
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
            size: button.size + 3
            color: button.ink
        }
        AppText {
            anchors.verticalCenter: parent.verticalCenter
            text: button.text
            size: button.size
            font.weight: Font.Medium
            color: button.ink
            Accessible.ignored: true
        }
    }
    Tip {
        text: button.tip
        visible: button.hovered && button.tip !== ""
    }
}
