import QtQuick
import QtQuick.Layouts
import Driftwell

// One thing that the product does.
RowLayout {
    id: feature

    required property string symbol
    required property string title
    required property string detail

    spacing: 12

    Symbol {
        Layout.alignment: Qt.AlignTop
        Layout.preferredWidth: 24
        Layout.topMargin: 2
        name: feature.symbol
        size: 16
        tone: Tone.Accent
    }
    ColumnLayout {
        Layout.fillWidth: true
        spacing: 2

        AppText {
            Layout.fillWidth: true
            text: feature.title
            font.weight: Font.DemiBold
        }
        AppText {
            Layout.fillWidth: true
            text: feature.detail
            textStyle: TextStyle.Note
            tone: Tone.Muted
            wrapMode: Text.Wrap
        }
    }
}
