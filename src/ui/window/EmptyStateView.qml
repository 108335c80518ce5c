import QtQuick
import QtQuick.Layouts
import Driftwell

FocusScope {
    id: view

    required property MainWindowModel model

    ColumnLayout {
        anchors.centerIn: parent
        width: Math.min(420, parent.width - 40)
        spacing: 10

        Rectangle {
            Layout.alignment: Qt.AlignHCenter
            implicitWidth: 64
            implicitHeight: 64
            radius: 20
            color: DW.accentTint

            Symbol {
                anchors.centerIn: parent
                name: "folder.badge.plus"
                size: 30
                tone: Tone.Accent
            }
        }
        AppText {
            Layout.fillWidth: true
            Layout.topMargin: 6
            horizontalAlignment: Text.AlignHCenter
            text: "No projects yet"
            textStyle: TextStyle.Headline
        }
        AppText {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: "Drag a folder anywhere onto this window.\nIt is live on " + view.model.host + " about 30 seconds later."
            textStyle: TextStyle.Callout
            tone: Tone.Muted
            lineHeight: 1.3
        }
        PushButton {
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 8
            text: "Choose a folder…"
            prominent: true
            focus: true
            onClicked: view.model.chooseFolderAndDeploy()
        }
    }
}
