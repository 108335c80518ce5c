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
    Rectangle {
        id: frame

        anchors.fill: parent
        anchors.margins: 28
        radius: 22
        color: "transparent"
        border.color: DW.accent
        border.width: 1.5
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
            color: DW.accent
        }
        AppText {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            text: "Drop to deploy"
            size: 20
            font.weight: Font.DemiBold
        }
        AppText {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            text: "live on " + overlay.host + " in about 30 seconds"
            size: 12.5
            color: DW.textSecondary
        }
        AppText {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            text: "You can rename it before it goes live."
            size: 11.5
            color: DW.textTertiary
        }
    }
}
