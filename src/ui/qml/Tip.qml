import QtQuick
import QtQuick.Controls.Basic
import Driftwell

// What is said under a resting pointer.
ToolTip {
    id: tip

    delay: 600
    padding: 7
    font.pointSize: 11.5 * 0.75

    contentItem: AppText {
        text: tip.text
        size: 11.5
        wrapMode: Text.Wrap
    }
    background: Rectangle {
        color: DW.card
        border.color: DW.borderStrong
        radius: 6
    }
}
