pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Driftwell

// Who has access besides the people that are named.
ColumnLayout {
    id: section

    required property ShareSheetModel model

    spacing: 4

    SectionHeading {
        Layout.fillWidth: true
        text: "General access"
    }
    RowLayout {
        spacing: 10

        Symbol {
            Layout.preferredWidth: 20
            name: section.model.modeSymbol
            size: 14
            tone: Tone.Muted
        }
        MenuButton {
            id: mode

            text: section.model.modeLabel
            details: section.model.modeDescription
            Accessible.name: "General access, " + text
            onClicked: modeMenu.popup(mode, 0, mode.height + 4)
        }
    }
    AppText {
        Layout.fillWidth: true
        Layout.leftMargin: 30
        wrapMode: Text.Wrap
        text: section.model.modeDescription
        textStyle: TextStyle.Callout
        tone: Tone.Muted
    }
    ChoiceMenu {
        id: modeMenu

        Repeater {
            model: section.model.modes

            MenuEntry {
                required property int index
                required property string modelData

                text: modelData
                choice: true
                chosen: index === section.model.mode
                enabled: !section.model.accessBusy
                onTriggered: section.model.chooseMode(index)
            }
        }
    }
}
