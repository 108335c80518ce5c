import QtQuick
import QtQuick.Layouts
import Driftwell

// A file that is still to be repaired.
Item {
    id: row

    required property string path

    implicitHeight: 26
    Accessible.role: Accessible.ListItem
    Accessible.name: path
    Accessible.focusable: true

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 10
        anchors.rightMargin: 14
        spacing: 7

        Symbol {
            name: "doc.text"
            size: 12
            tone: Tone.Muted
        }
        CuttableText {
            Layout.fillWidth: true
            elide: Text.ElideMiddle
            text: row.path
            textStyle: TextStyle.Note
            monospaced: true
            Accessible.ignored: true
        }
    }
    FocusRing {
        shown: row.ListView.isCurrentItem && row.ListView.view.activeFocus
        anchors.margins: 1
        radius: 6
    }
}
