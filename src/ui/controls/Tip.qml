import QtQuick
import QtQuick.Controls.Basic
import Driftwell

// What is said under a resting pointer.
ToolTip {
    id: tip

    delay: 600
    padding: 7
    font.pointSize: TextStyle.pointSize(TextStyle.Detail)

    contentItem: AppText {
        text: tip.text
        textStyle: TextStyle.Detail
        wrapMode: Text.Wrap
    }
    background: Rectangle {
        color: DW.card
        border.color: DW.borderStrong
        radius: 6
    }
}
