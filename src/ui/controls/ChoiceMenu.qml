import QtQuick
import QtQuick.Controls.Basic
import Driftwell

// The look of a menu.
Menu {
    padding: 4
    width: 208

    background: Outline {
        color: DW.card
        radius: 9
        border.color: DW.borderStrong
    }
}
