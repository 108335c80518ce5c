import QtQuick
import QtQuick.Layouts
import Driftwell

// Tells a failure until it is dismissed.
Sheet {
    id: alert

    required property Alerts model

    title: model.title
    onEscaped: model.dismiss()

    ColumnLayout {
        width: parent.width
        height: Math.min(implicitHeight, alert.room)
        spacing: 12
        Accessible.role: Accessible.AlertMessage
        Accessible.name: alert.model.title
        Accessible.description: alert.model.text

        AppText {
            Layout.fillWidth: true
            wrapMode: Text.Wrap
            maximumLineCount: 2
            text: alert.model.title
            textStyle: TextStyle.SheetTitle
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
                wrapMode: Text.Wrap
                text: alert.model.text
                textStyle: TextStyle.Callout
                tone: Tone.Muted
            }
        }
        PushButton {
            Layout.alignment: Qt.AlignRight
            text: "OK"
            prominent: true
            focus: true
            onClicked: alert.model.dismiss()
        }
    }
}
