import QtQuick
import QtQuick.Controls.Basic
import Driftwell

// A line between the groups of a menu.
MenuSeparator {
    height: visible ? implicitHeight : 0

    contentItem: Rectangle {
        implicitHeight: 1
        color: DW.rowDivider
    }
}
