import QtQuick
import QtQuick.Layouts
import Driftwell

// Has the name of a site typed before the site is deleted.
Sheet {
    id: sheet

    required property DeleteConfirmModel model

    title: model.title
    onEscaped: model.cancel()

    ColumnLayout {
        width: parent.width
        spacing: 12

        SheetHeading {
            Layout.fillWidth: true
            symbol: "trash"
            symbolTone: Tone.Danger
            text: sheet.model.title
        }
        AppText {
            Layout.fillWidth: true
            wrapMode: Text.Wrap
            text: "Takes the project offline and permanently deletes its files, stored data, and sharing settings. This cannot be undone."
            textStyle: TextStyle.Callout
            tone: Tone.Muted
        }
        InputField {
            Layout.fillWidth: true
            focus: true
            placeholderText: sheet.model.placeholder
            Accessible.name: sheet.model.placeholder
            onTextEdited: sheet.model.typedName = text
            onAccepted: sheet.model.confirm()
        }
        RowLayout {
            Layout.topMargin: 4
            Layout.alignment: Qt.AlignRight
            spacing: 8

            PushButton {
                text: "Cancel"
                onClicked: sheet.model.cancel()
            }
            PushButton {
                text: "Delete"
                prominent: true
                fill: Tone.Danger
                enabled: sheet.model.confirmed
                onClicked: sheet.model.confirm()
            }
        }
    }
}
