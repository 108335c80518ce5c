import QtQuick
import QtQuick.Layouts
import Driftwell

// Why the last change of its kind did not happen.
RowLayout {
    id: trouble

    required property string text

    visible: text !== ""
    spacing: 7
    Accessible.role: Accessible.AlertMessage
    Accessible.name: text

    Announcement {
        text: trouble.text
    }
    Symbol {
        Layout.alignment: Qt.AlignTop
        Layout.topMargin: 2
        name: "exclamationmark.triangle"
        size: 11
        tone: Tone.Warning
    }
    CuttableText {
        Layout.fillWidth: true
        wrapMode: Text.WrapAtWordBoundaryOrAnywhere
        maximumLineCount: 4
        text: trouble.text
        textStyle: TextStyle.Callout
        tone: Tone.Warning
        Accessible.ignored: true
    }
}
