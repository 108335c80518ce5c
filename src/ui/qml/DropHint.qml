import QtQuick
import QtQuick.Controls.Basic
import Driftwell

// The invitation at the foot of the list.
AbstractButton {
    id: hint

    required property SiteListModel model
    readonly property color ink: model.paused ? DW.textTertiary : hovered ? DW.textPrimary : DW.textSecondary

    implicitHeight: 44
    enabled: !model.paused
    text: model.dropHint
    hoverEnabled: true
    Accessible.name: text
    Accessible.description: enabled ? "" : "Unavailable"
    onClicked: model.chooseFolderAndDeploy()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    contentItem: Item {
        Row {
            anchors.centerIn: parent
            spacing: 7

            Symbol {
                anchors.verticalCenter: parent.verticalCenter
                name: "folder.badge.plus"
                size: 17
                color: hint.ink
            }
            AppText {
                anchors.verticalCenter: parent.verticalCenter
                text: hint.text
                size: 12.5
                color: hint.ink
                Accessible.ignored: true
            }
        }
    }
    FocusRing {
        shown: hint.visualFocus
        anchors.margins: 0
        radius: 8
    }
    Tip {
        text: "Choose a folder to publish (Ctrl+D)"
        visible: hint.hovered && hint.enabled
    }
}
