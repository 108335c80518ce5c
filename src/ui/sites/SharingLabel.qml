import QtQuick
import QtQuick.Layouts
import Driftwell

RowLayout {
    id: label

    required property string symbol
    required property string text

    spacing: 5

    Symbol {
        visible: label.symbol !== ""
        name: label.symbol
        size: 11
        tone: Tone.Muted
    }
    CuttableText {
        Layout.fillWidth: true
        text: label.text
        tone: Tone.Muted
    }
}
