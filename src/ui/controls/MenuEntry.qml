import QtQuick
import QtQuick.Controls.Basic
import Driftwell

MenuItem {
    id: entry

    // What cannot be taken back.
    property bool destructive: false
    // One of several, of which the chosen one is marked.
    property bool choice: false
    property bool chosen: false
    // What does the same without the menu.
    property string keys: ""

    implicitHeight: visible ? 30 : 0
    implicitWidth: 200
    leftPadding: 12
    rightPadding: 12
    Accessible.description: chosen ? "Chosen" : keys

    contentItem: AppText {
        text: entry.text
        leftPadding: entry.choice ? 20 : 0
        verticalAlignment: Text.AlignVCenter
        tone: !entry.enabled ? Tone.Faint : entry.destructive ? Tone.Danger : Tone.Primary
        Accessible.ignored: true

        AppText {
            anchors { right: parent.right; verticalCenter: parent.verticalCenter }
            text: entry.keys
            textStyle: TextStyle.Detail
            tone: Tone.Faint
            Accessible.ignored: true
        }
        Symbol {
            anchors.verticalCenter: parent.verticalCenter
            visible: entry.chosen
            name: "checkmark"
            size: 12
        }
    }
    background: Rectangle {
        x: 4
        width: entry.width - 8
        radius: 6
        color: entry.destructive ? DW.danger : DW.textPrimary
        opacity: entry.highlighted ? 0.08 : 0
    }
}
