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
            textStyle: TextStyle.PageTitle
            Accessible.role: Accessible.Heading
        }
        RowLayout {
            spacing: 7

            Spinner {
                visible: header.model.loading
                size: 12
            }
            AppText {
                Layout.fillWidth: true
                text: header.model.subtitle
                textStyle: TextStyle.Callout
                tone: Tone.Muted
            }
        }
    }
    IconButton {
        id: more

        symbol: "ellipsis"
        label: "More"
        onClicked: menu.popup(more, more.width - menu.width, more.height + 4)

        ChoiceMenu {
            id: menu

            MenuEntry {
                text: "Refresh"
                keys: "F5"
                onTriggered: header.model.refresh()
            }
            MenuEntry {
                text: "Keyboard Shortcuts"
                keys: "F1"
                onTriggered: header.model.keysRequested()
            }
        }
    }
    PushButton {
        text: "New project"
        symbol: "plus"
        prominent: true
        enabled: header.model.newProjectEnabled
        tip: Wording.here("Choose a folder to publish (⌘D)")
        onClicked: header.model.chooseFolderAndDeploy()
    }
}
