import QtQuick
import QtQuick.Layouts
import Driftwell

// A folder is in a shape that is left alone until an agent or a person has put it right.
Sheet {
    id: sheet

    required property AttentionSheetModel model

    title: "This folder needs attention"
    preferredWidth: 440
    padding: 22
    onEscaped: model.close()

    ColumnLayout {
        width: parent.width
        height: Math.min(implicitHeight, sheet.room)
        spacing: 14

        SheetHeading {
            Layout.fillWidth: true
            symbol: "exclamationmark.triangle"
            symbolSize: 14
            symbolTone: Tone.Warning
            text: sheet.title
            font.weight: Font.DemiBold
        }
        ScrollArea {
            id: area

            // The bar is beside the text.
            Layout.rightMargin: -14
            Layout.fillWidth: true
            Layout.fillHeight: true
            implicitHeight: words.implicitHeight
            contentHeight: words.implicitHeight

            AppText {
                id: words

                width: area.width - 14
                wrapMode: Text.WrapAtWordBoundaryOrAnywhere
                text: sheet.model.text
                textStyle: TextStyle.Callout
                tone: Tone.Muted
            }
        }
        CopyButton {
            focus: true
            prominent: true
            copySymbol: "doc.on.clipboard"
            copyText: "Copy instructions for your agent"
            copiedText: "Copied"
            copied: sheet.model.copied
            onClicked: sheet.model.copyInstructions()
        }
        PushButton {
            Layout.alignment: Qt.AlignRight
            text: "Close"
            onClicked: sheet.model.close()
        }
    }
}
