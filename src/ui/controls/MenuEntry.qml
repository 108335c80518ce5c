import QtQuick
import QtQuick.Controls.Basic
import Driftwell

MenuItem {
    id: entry

    // What cannot be taken back.
    property bool destructive: false

    implicitHeight: visible ? 30 : 0
    implicitWidth: 200
    leftPadding: 12
    rightPadding: 12
    // Qt Quick does not tell assistive technology that an entry is disabled.
    Accessible.description: enabled ? "" : "Unavailable"

    contentItem: AppText {
        text: entry.text
        verticalAlignment: Text.AlignVCenter
        tone: !entry.enabled ? Tone.Faint : entry.destructive ? Tone.Danger : Tone.Primary
        Accessible.ignored: true
    }
    background: Rectangle {
        x: 4
        width: entry.width - 8
        radius: 6
        color: entry.destructive ? DW.danger : DW.textPrimary
        opacity: entry.highlighted ? 0.08 : 0
    }
}
