import QtQuick
import QtQuick.Layouts
import Driftwell

// Covers the window while a folder hovers over it.
Item {
    id: overlay

    required property string host

    Accessible.role: Accessible.Pane
    Accessible.name: "Drop to deploy"

    Rectangle {
        anchors.fill: parent
        color: DW.canvas
        opacity: 0.72
    }
    Rectangle {
        anchors.fill: frame
        radius: frame.radius
        color: DW.accent
        opacity: 0.08
    }
    Outline {
        id: frame

        anchors.fill: parent
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
            name: "folder.badge.plus"
            size: 34
            tone: Tone.Accent
        }
        AppText {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            text: "Drop to deploy"
            textStyle: TextStyle.Hero
        }
        AppText {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            text: "live on " + overlay.host + " in about 30 seconds"
            textStyle: TextStyle.Callout
            tone: Tone.Muted
        }
        AppText {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            text: "You can rename it before it goes live."
            textStyle: TextStyle.Detail
            tone: Tone.Faint
        }
    }
}
