import QtQuick
import QtQuick.Layouts
import Driftwell

// Covers the window while a folder hovers over it, and says what would become of it.
Item {
    id: overlay

    required property bool invites
    required property string title
    required property string text
    required property string note

    Accessible.role: Accessible.Pane
    Accessible.name: overlay.title
    Accessible.description: overlay.text

    Rectangle {
        anchors.fill: parent
        color: DW.canvas
        // What lies under a refusal is not to be read through it.
        opacity: overlay.invites ? 0.72 : 0.97
    }
    Rectangle {
        anchors.fill: frame
        visible: overlay.invites
        radius: frame.radius
        color: DW.accent
        opacity: 0.08
    }
    Outline {
        id: frame

        anchors.fill: parent
        visible: overlay.invites
        anchors.margins: 28
        radius: 22
        stroke: 1.5
        border.color: DW.accent
        opacity: 0.8
    }
    ColumnLayout {
        anchors.centerIn: parent
        width: parent.width - 100
        spacing: 8

        Symbol {
            Layout.alignment: Qt.AlignHCenter
            name: overlay.invites ? "folder.badge.plus" : "exclamationmark.circle"
            size: 34
            tone: overlay.invites ? Tone.Accent : Tone.Muted
        }
        AppText {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            text: overlay.title
            textStyle: TextStyle.Hero
        }
        AppText {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            text: overlay.text
            textStyle: TextStyle.Callout
            tone: Tone.Muted
        }
        AppText {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            visible: text !== ""
            text: overlay.note
            textStyle: TextStyle.Detail
            tone: Tone.Faint
        }
    }
}
