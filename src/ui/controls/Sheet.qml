import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Templates as T
import Driftwell

// A surface before the window that wants an answer. Nothing behind it can be reached meanwhile. It is never larger than
// the window: what does not fit is scrolled.
Dialog {
    id: sheet

    property real preferredWidth: 440
    default property alias sheetContent: body.data

    // Escape was pressed.
    signal escaped

    readonly property real margin: 20
    // The height that the content may have without being scrolled.
    readonly property real room: parent ? parent.height - 2 * margin - topPadding - bottomPadding : 0

    header: null
    footer: null
    anchors.centerIn: parent
    width: parent ? Math.min(preferredWidth, parent.width - 2 * margin) : preferredWidth
    height: parent ? Math.min(implicitHeight, parent.height - 2 * margin) : implicitHeight
    padding: 20
    modal: true
    focus: true
    closePolicy: Popup.NoAutoClose
    contentHeight: body.height

    background: Outline {
        color: DW.card
        radius: 14
        border.color: DW.borderStrong
        Accessible.ignored: true
    }
    T.Overlay.modal: Rectangle {
        color: DW.dark ? "#A0000008" : "#59201F3A"
    }

    FocusScope {
        anchors.fill: parent
        focus: true
        Keys.onEscapePressed: sheet.escaped()

        ScrollArea {
            anchors.fill: parent
            contentHeight: body.height

            FocusScope {
                id: body

                width: parent.width
                height: childrenRect.height
                focus: true
            }
        }
    }
}
