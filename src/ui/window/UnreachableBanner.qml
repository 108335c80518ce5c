import QtQuick
import QtQuick.Layouts
import Driftwell

// The platform is out of reach; the last known list stays below.
Rectangle {
    id: banner

    required property string title
    required property string text

    implicitHeight: texts.implicitHeight + 16
    color: DW.canvas
    Accessible.role: Accessible.AlertMessage
    Accessible.name: title
    Accessible.description: text

    Rectangle {
        anchors.fill: parent
        color: DW.danger
        opacity: 0.09
    }
    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 20
        anchors.rightMargin: 20
        spacing: 10

        StatusDot {
            size: 7
            tone: Tone.Danger
        }
        ColumnLayout {
            id: texts

            spacing: 2

            AppText {
                Layout.fillWidth: true
                text: banner.title
                textStyle: TextStyle.Note
                font.weight: Font.DemiBold
            }
            AppText {
                Layout.fillWidth: true
                text: banner.text
                monospaced: true
                textStyle: TextStyle.Detail
                tone: Tone.Muted
            }
        }
    }
    Rectangle {
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        height: 1
        color: DW.border
    }
}
