import QtQuick
import QtQuick.Layouts
import Driftwell

/// What of the folder could not be read, and so is not on the site. Takes no room while that is nothing.
RowLayout {
    id: line

    required property string text

    visible: text !== ""
    spacing: 7

    Symbol {
        Layout.alignment: Qt.AlignTop
        name: "exclamationmark.triangle.fill"
        tone: Tone.Warning
    }
    AppText {
        Layout.fillWidth: true
        wrapMode: Text.WrapAtWordBoundaryOrAnywhere
        maximumLineCount: 4
        elide: Text.ElideRight
        text: line.text
        textStyle: TextStyle.Note
        tone: Tone.Warning
    }
}
