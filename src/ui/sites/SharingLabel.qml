import QtQuick
import Driftwell

Row {
    id: label

    required property string symbol
    required property string text

    spacing: 5

    Symbol {
        anchors.verticalCenter: parent.verticalCenter
        visible: label.symbol !== ""
        name: label.symbol
        size: 11
        tone: Tone.Muted
    }
    AppText {
        anchors.verticalCenter: parent.verticalCenter
        text: label.text
        tone: Tone.Muted
    }
}
