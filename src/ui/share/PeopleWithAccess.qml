pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Driftwell

// Who has access by name.
ColumnLayout {
    id: section

    required property ShareSheetModel model

    spacing: 4

    SectionHeading {
        Layout.fillWidth: true
        text: "People with access"
    }
    ReadingList {
        id: people

        readonly property real rowHeight: 44

        function askForRole(): void {
            (currentItem as PersonRow)?.askForRole();
        }

        Layout.fillWidth: true
        visible: count > 0
        // Half of a row more tells that there are more.
        implicitHeight: Math.min(contentHeight, 4.5 * rowHeight)
        label: "People with access"
        model: section.model.people
        Keys.onReturnPressed: askForRole()
        Keys.onEnterPressed: askForRole()
        Keys.onSpacePressed: askForRole()
        Keys.onMenuPressed: askForRole()

        delegate: PersonRow {
            id: row

            width: people.width
            onRoleAsked: button => {
                people.currentIndex = row.index;
                roleMenu.email = row.email;
                roleMenu.popup(button, 0, button.height + 4);
            }
        }
    }
    AppText {
        Layout.fillWidth: true
        visible: text !== ""
        wrapMode: Text.Wrap
        text: section.model.peopleNote
        textStyle: TextStyle.Callout
        tone: Tone.Muted
    }
    ChoiceMenu {
        id: roleMenu

        property string email

        MenuEntry {
            text: "Remove access"
            enabled: !section.model.accessBusy
            destructive: true
            onTriggered: section.model.remove(roleMenu.email)
        }
    }
}
