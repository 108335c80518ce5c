import QtQuick
import Driftwell

// Every text on screen.
Text {
    property int textStyle: TextStyle.Body
    property int tone: Tone.Primary
    property bool monospaced: false

    color: DW.toneColor(tone, DW.dark)
    font.pointSize: TextStyle.pointSize(textStyle)
    font.weight: TextStyle.weight(textStyle)
    font.letterSpacing: TextStyle.letterSpacing(textStyle)
    font.family: monospaced ? "monospace" : Application.font.family
    textFormat: Text.PlainText
    elide: Text.ElideRight
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
