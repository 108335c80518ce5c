import QtQuick
import QtQuick.Layouts
import Driftwell

RowLayout {
    id: header

    required property SiteListModel model

    spacing: 12

    ColumnLayout {
        spacing: 3

        AppText {
            Layout.fillWidth: true
            text: "My projects"
            size: 22
            font.weight: Font.Bold
            Accessible.role: Accessible.Heading
        }
        AppText {
            Layout.fillWidth: true
            text: header.model.subtitle
            size: 12.5
            color: DW.textSecondary
        }
    }
    PushButton {
        text: "New project"
        symbol: "plus"
        prominent: true
        enabled: header.model.newProjectEnabled
        tip: "Choose a folder to publish (Ctrl+D)"
        onClicked: header.model.chooseFolderAndDeploy()
    }
}
