import QtQuick
import QtQuick.Layouts
import Driftwell

// What a sheet is about, perhaps with a symbol before it. A long name is read whole.
RowLayout {
    id: heading

    required property string text
    property string symbol: ""
    property int symbolTone: Tone.Primary
    property real symbolSize: 15
    property alias font: words.font

    spacing: 7

    Symbol {
        Layout.alignment: Qt.AlignTop
        visible: heading.symbol !== ""
        name: heading.symbol
        size: heading.symbolSize
        tone: heading.symbolTone
    }
    AppText {
        id: words

        Layout.fillWidth: true
        wrapMode: Text.WrapAtWordBoundaryOrAnywhere
        maximumLineCount: 4
        text: heading.text
        textStyle: TextStyle.SheetTitle
        Accessible.role: Accessible.Heading
    }
}
