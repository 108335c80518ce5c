import QtQuick
import Driftwell

Row {
    id: label

    required property string symbol
    required property string text

    spacing: 5

    Symbol {
        anchors.verticalCenter: parent.verticalCenter
        visible: label.symbol !== ""
        name: label.symbol
        size: 13
        color: DW.textSecondary
    }
    AppText {
        anchors.verticalCenter: parent.verticalCenter
        text: label.text
        color: DW.textSecondary
    }
}
