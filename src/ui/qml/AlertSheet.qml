import QtQuick
import QtQuick.Layouts
import Driftwell

// Tells a failure until it is dismissed.
Sheet {
    id: alert

    required property string text

    signal dismissed

    contentItem: ColumnLayout {
        spacing: 12
        Accessible.role: Accessible.AlertMessage
        Accessible.name: alert.title
        Accessible.description: alert.text

        AppText {
            Layout.fillWidth: true
            text: alert.title
            size: 15
            font.weight: Font.Bold
        }
        AppText {
            Layout.fillWidth: true
            wrapMode: Text.Wrap
            text: alert.text
            size: 12.5
            color: DW.textSecondary
        }
        PushButton {
            Layout.alignment: Qt.AlignRight
            text: "OK"
            prominent: true
            focus: true
            onClicked: alert.dismissed()
            Keys.onEscapePressed: alert.dismissed()
        }
    }
}
