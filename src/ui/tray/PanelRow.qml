import QtQuick
import Driftwell

// A row of the panel, which shows the pointer and the keyboard alike, as in a menu.
Pressable {
    id: row

    leftPadding: 14
    rightPadding: 14
    ringShown: false

    background: Rectangle {
        x: 6
        width: row.width - 12
        radius: 6
        color: DW.textPrimary
        opacity: row.highlighted ? 0.07 : 0
    }
}
