import QtQuick
import QtQuick.Layouts
import Driftwell

// The invitation at the foot of the list.
Pressable {
    id: hint

    required property SiteListModel model
    readonly property int ink: model.paused ? Tone.Faint : hovered ? Tone.Primary : Tone.Muted

    implicitHeight: 44
    leftPadding: 14
    rightPadding: 14
    enabled: !model.paused
    text: model.dropHint
    tip: Wording.here("Choose a folder to publish (⌘D)")
    ringDistance: 0
    ringRadius: 8
    onClicked: model.chooseFolderAndDeploy()

    contentItem: Item {
        RowLayout {
            anchors.centerIn: parent
            width: Math.min(implicitWidth, parent.width)
            spacing: 7

            Symbol {
                name: "folder.badge.plus"
                size: 14
                tone: hint.ink
            }
            AppText {
                Layout.fillWidth: true
                // A name of a host may be longer than the window is wide, and is read whole.
                wrapMode: Text.WrapAtWordBoundaryOrAnywhere
                maximumLineCount: 4
                text: hint.text
                textStyle: TextStyle.Callout
                tone: hint.ink
                Accessible.ignored: true
            }
        }
    }
}
