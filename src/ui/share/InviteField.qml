import QtQuick
import QtQuick.Layouts
import Driftwell

// Where the address of a further person is typed.
FocusScope {
    id: invite

    required property ShareSheetModel model

    implicitHeight: 46

    Outline {
        anchors.fill: parent
        radius: 10
        color: DW.surfaceSubtle
        stroke: email.activeFocus ? 2 : 1
        border.color: email.activeFocus ? DW.accent : DW.border
    }
    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 14
        anchors.rightMargin: 9
        spacing: 10

        Symbol {
            name: "person.badge.plus"
            size: 15
            tone: Tone.Muted
        }
        PlainField {
            id: email

            Layout.fillWidth: true
            Layout.fillHeight: true
            focus: true
            textStyle: TextStyle.BarTitle
            placeholderText: "Add people by email…"
            text: invite.model.inviteEmail
            Accessible.name: placeholderText
            onTextEdited: invite.model.inviteEmail = text
            onAccepted: invite.model.invite()
        }
        PushButton {
            visible: invite.model.canInvite
            enabled: !invite.model.accessBusy
            implicitHeight: 28
            text: "Add"
            prominent: true
            Accessible.name: "Add " + email.text.trim()
            onClicked: {
                invite.model.invite();
                email.forceActiveFocus();
            }
        }
    }
}
