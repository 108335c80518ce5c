import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Templates as T
import Driftwell

// A surface before the window that wants an answer. Nothing behind it can be reached meanwhile.
Dialog {
    id: sheet

    header: null
    footer: null
    anchors.centerIn: parent
    width: parent ? Math.min(440, parent.width - 40) : 440
    padding: 20
    modal: true
    focus: true
    closePolicy: Popup.NoAutoClose

    background: Rectangle {
        color: DW.card
        radius: 14
        border.color: DW.borderStrong
        Accessible.ignored: true
    }
    T.Overlay.modal: Rectangle {
        color: DW.dark ? "#A0000008" : "#59201F3A"
    }
}
