import QtQuick
import Driftwell

PlainField {
    id: field

    implicitHeight: 32
    leftPadding: 10
    rightPadding: 10

    background: Outline {
        radius: 8
        color: DW.card
        stroke: field.activeFocus ? 2 : 1
        border.color: field.activeFocus ? DW.accent : DW.borderStrong
    }
}
