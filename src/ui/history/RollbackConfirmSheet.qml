import QtQuick
import QtQuick.Layouts
import Driftwell

// Asks before a site goes back to the version before.
Sheet {
    id: sheet

    required property RollbackConfirmModel model

    title: model.title
    onEscaped: model.cancel()

    ColumnLayout {
        width: parent.width
        spacing: 12

        SheetHeading {
            Layout.fillWidth: true
            symbol: "arrow.uturn.backward"
            symbolTone: Tone.Warning
            text: sheet.model.title
        }
        AppText {
            Layout.fillWidth: true
            wrapMode: Text.WrapAtWordBoundaryOrAnywhere
            text: sheet.model.explainer
            textStyle: TextStyle.Callout
            tone: Tone.Muted
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
                text: "Roll back"
                prominent: true
                fill: Tone.Warning
                focus: true
                onClicked: sheet.model.confirm()
            }
        }
    }
}
