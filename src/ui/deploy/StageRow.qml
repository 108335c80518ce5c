import QtQuick
import QtQuick.Layouts
import Driftwell

// One step of a deployment: done, under way, or to come.
RowLayout {
    id: row

    required property int stageState
    required property string label

    spacing: 9
    Accessible.role: Accessible.ListItem
    Accessible.name: label
    Accessible.description: stageState === DeploySheetModel.Done ? "done" : stageState === DeploySheetModel.Active ? "under way" : "to come"

    Item {
        implicitWidth: 16
        implicitHeight: 16

        Spinner {
            anchors.centerIn: parent
            visible: row.stageState === DeploySheetModel.Active
            size: 13
        }
        Symbol {
            anchors.centerIn: parent
            visible: row.stageState !== DeploySheetModel.Active
            name: row.stageState === DeploySheetModel.Done ? "checkmark.circle.fill" : "circle"
            size: 13
            tone: row.stageState === DeploySheetModel.Done ? Tone.Accent : DW.borderStrong
        }
    }
    AppText {
        Layout.fillWidth: true
        text: row.label
        textStyle: TextStyle.Note
        elide: Text.ElideMiddle
        tone: row.stageState === DeploySheetModel.Pending ? Tone.Faint : Tone.Primary
        Accessible.ignored: true
    }
}
