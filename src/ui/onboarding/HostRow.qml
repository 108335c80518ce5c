import QtQuick
import QtQuick.Layouts
import Driftwell

// Which platform it is, to be looked at or, once it is asked for, changed.
RowLayout {
    id: row

    required property OnboardingModel model

    spacing: 10

    AppText {
        Layout.fillWidth: true
        visible: !row.model.editingHost
        text: row.model.host
        monospaced: true
        elide: Text.ElideMiddle
    }
    PushButton {
        id: change

        visible: !row.model.editingHost
        text: "Change"
        onClicked: {
            row.model.editHost();
            field.forceActiveFocus();
            field.selectAll();
        }
    }
    InputField {
        id: field

        Layout.fillWidth: true
        visible: row.model.editingHost
        text: row.model.hostInput
        font.family: "monospace"
        Accessible.name: "Platform"
        Accessible.description: row.model.hostError
        onTextEdited: row.model.hostInput = text
        // Not the button at the foot, which Return presses everywhere else.
        Keys.onReturnPressed: row.save()
        Keys.onEnterPressed: row.save()
        Keys.onEscapePressed: row.cancel()
    }
    PushButton {
        visible: row.model.editingHost
        text: "Save"
        onClicked: row.save()
    }
    PushButton {
        visible: row.model.editingHost
        text: "Cancel"
        onClicked: row.cancel()
    }

    function save(): void {
        row.model.saveHost();
        row.giveBackKeyboard();
    }

    function cancel(): void {
        row.model.cancelHost();
        row.giveBackKeyboard();
    }

    function giveBackKeyboard(): void {
        if (!row.model.editingHost)
            change.forceActiveFocus();
    }
}
