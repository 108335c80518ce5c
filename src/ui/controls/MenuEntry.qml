import QtQuick
import QtQuick.Controls.Basic
import Driftwell

MenuItem {
    id: entry

    implicitHeight: visible ? 30 : 0
    implicitWidth: 200
    leftPadding: 12
    rightPadding: 12

    contentItem: AppText {
        text: entry.text
        verticalAlignment: Text.AlignVCenter
        tone: entry.enabled ? Tone.Primary : Tone.Faint
        Accessible.ignored: true
    }
    background: Rectangle {
        x: 4
        width: entry.width - 8
        radius: 6
        color: DW.textPrimary
        opacity: entry.highlighted ? 0.08 : 0
    }
}
