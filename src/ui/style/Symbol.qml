import QtQuick
import Driftwell

// A symbol of the icon font. It only ever stands beside the words that say the same.
Text {
    required property string name
    // As large as the symbol is seen, in logical pixels.
    property real size: 13
    property int tone: Tone.Primary

    text: Symbols.glyph(name)
    color: DW.toneColor(tone, DW.dark)
    font.family: Symbols.family
    font.pixelSize: Symbols.pixelSize(size)
    textFormat: Text.PlainText
    horizontalAlignment: Text.AlignHCenter
    verticalAlignment: Text.AlignVCenter
    Accessible.ignored: true
}
