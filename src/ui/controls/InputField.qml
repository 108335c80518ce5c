import QtQuick
import Driftwell

PlainField {
    id: field

    implicitHeight: 32
    leftPadding: 10
    rightPadding: 10

    background: Rectangle {
        radius: 8
        color: DW.card
        border.width: field.activeFocus ? 2 : 1
        border.color: field.activeFocus ? DW.accent : DW.borderStrong
    }
}
