import QtQuick
import QtQuick.Layouts
import Driftwell

// The command-line tool on the person's path is that of another copy of the application.
Rectangle {
    id: banner

    required property string text
    required property string error
    required property bool busy

    signal relinked

    implicitHeight: line.implicitHeight + 16
    color: DW.surfaceSubtle
    Accessible.role: Accessible.AlertMessage
    Accessible.name: text
    Accessible.description: error

    Announcement {
        text: banner.visible ? banner.error || banner.text : ""
    }
    RowLayout {
        id: line

        anchors { left: parent.left; right: parent.right; verticalCenter: parent.verticalCenter }
        anchors.leftMargin: 20
        anchors.rightMargin: 20
        spacing: 10

        Symbol {
            name: "terminal"
            size: 14
            tone: Tone.Muted
        }
        ColumnLayout {
            spacing: 2

            AppText {
                Layout.fillWidth: true
                text: banner.text
                textStyle: TextStyle.Note
                font.weight: Font.DemiBold
            }
            AppText {
                Layout.fillWidth: true
                visible: text !== ""
                wrapMode: Text.WrapAtWordBoundaryOrAnywhere
                maximumLineCount: 3
                text: banner.error
                textStyle: TextStyle.Detail
                tone: Tone.Danger
            }
        }
        Item {
            // One place for both, so that the text does not move.
            implicitWidth: relink.implicitWidth
            implicitHeight: relink.implicitHeight

            Spinner {
                anchors.centerIn: parent
                visible: banner.busy
            }
            RowButton {
                id: relink

                visible: !banner.busy
                text: "Relink…"
                onClicked: banner.relinked()
            }
        }
    }
    Rectangle {
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        height: 1
        color: DW.border
    }
}
