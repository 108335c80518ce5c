import QtQuick
import Driftwell

// With whom a site is shared, where it is not single people. Without a layout: every row has one, and each text that
// comes into sight would have it laid out anew.
Item {
    id: label

    required property string symbol
    required property string text
    readonly property real wordsX: mark.visible ? mark.width + 5 : 0

    implicitHeight: Math.max(mark.implicitHeight, words.implicitHeight)

    Symbol {
        id: mark

        anchors.verticalCenter: parent.verticalCenter
        visible: label.symbol !== ""
        name: label.symbol
        size: 11
        tone: Tone.Muted
    }
    CuttableText {
        id: words

        x: label.wordsX
        anchors.verticalCenter: parent.verticalCenter
        width: label.width - x
        text: label.text
        tone: Tone.Muted
    }
}
