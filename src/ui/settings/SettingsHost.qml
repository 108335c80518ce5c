import QtQuick
import QtQuick.Layouts
import Driftwell

SettingsSection {
    id: section

    required property SettingsModel model

    footer: "The platform host the app connects to — the same one `dw host` sets for the CLI."

    RowLayout {
        Layout.fillWidth: true
        spacing: 12

        AppText {
            text: "Server"
            Accessible.ignored: true
        }
        InputField {
            Layout.fillWidth: true
            text: section.model.hostInput
            placeholderText: section.model.exampleHost
            font.family: "monospace"
            Accessible.name: "Server"
            Accessible.description: section.model.hostError !== "" ? section.model.hostError : section.model.hostChanged ? section.model.applyHint : ""
            onTextEdited: section.model.hostInput = text
            onAccepted: section.model.applyHost()
        }
    }
    AppText {
        Layout.fillWidth: true
        visible: text !== ""
        text: section.model.hostError
        textStyle: TextStyle.Caption
        tone: Tone.Danger
        wrapMode: Text.WrapAtWordBoundaryOrAnywhere
        maximumLineCount: 4
    }
    RowLayout {
        Layout.fillWidth: true
        visible: section.model.hostChanged
        spacing: 12

        AppText {
            Layout.fillWidth: true
            text: section.model.applyHint
            textStyle: TextStyle.Caption
            tone: Tone.Muted
        }
        PushButton {
            text: "Apply"
            onClicked: section.model.applyHost()
        }
    }
}
