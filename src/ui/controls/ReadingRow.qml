import QtQuick
import Driftwell

// A row of a ReadingList: the line above it, and where the keyboard is.
Item {
    id: row

    required property int index
    // All that the row says.
    required property string label

    Accessible.role: Accessible.ListItem
    Accessible.name: label
    Accessible.focusable: true

    Rectangle {
        visible: row.index > 0
        width: parent.width
        height: 1
        color: DW.rowDivider
    }
    FocusRing {
        shown: row.ListView.isCurrentItem && row.ListView.view.activeFocus
        anchors.margins: 2
        radius: 7
    }
}
