import QtQuick
import Driftwell

// A symbol of the icon font. It only ever stands beside the words that say the same.
Text {
    required property string name
    property real size: 16

    text: Symbols.glyph(name)
    color: DW.textPrimary
    font.family: Symbols.family
    font.pixelSize: Math.round(size)
    textFormat: Text.PlainText
    horizontalAlignment: Text.AlignHCenter
    verticalAlignment: Text.AlignVCenter
    Accessible.ignored: true
}
