import QtQuick
import QtQuick.Layouts
import Driftwell

// Asks before something is done that what is under way would suffer from.
Sheet {
    id: sheet

    required property WorkQuestion model

    title: model.title
    onEscaped: model.cancel()

    ColumnLayout {
        width: parent.width
        spacing: 12

        SheetHeading {
            Layout.fillWidth: true
            symbol: "exclamationmark.triangle"
            symbolTone: Tone.Warning
            text: sheet.model.title
        }
        AppText {
            Layout.fillWidth: true
            wrapMode: Text.WrapAtWordBoundaryOrAnywhere
            maximumLineCount: 12
            text: sheet.model.text
            textStyle: TextStyle.Callout
            tone: Tone.Muted
        }
        RowLayout {
            Layout.topMargin: 4
            Layout.alignment: Qt.AlignRight
            spacing: 8

            PushButton {
                text: sheet.model.no
                focus: true
                onClicked: sheet.model.cancel()
            }
            PushButton {
                text: sheet.model.yes
                prominent: true
                fill: Tone.Danger
                onClicked: sheet.model.confirm()
            }
        }
    }
}
