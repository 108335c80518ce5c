import QtQuick
import Driftwell

// Every text on screen. Sizes are logical pixels, which may have a fraction.
Text {
    property real size: 13
    property bool monospaced: false

    color: DW.textPrimary
    font.pointSize: size * 0.75
    font.family: monospaced ? "monospace" : Application.font.family
    textFormat: Text.PlainText
    elide: Text.ElideRight
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
