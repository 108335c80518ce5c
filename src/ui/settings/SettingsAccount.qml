import QtQuick
import QtQuick.Layouts
import Driftwell

SettingsSection {
    id: section

    required property SettingsModel model
    readonly property bool isPerson: model.account === SettingsModel.Person

    title: "Account"
    footer: "Signing in here signs in the `dw` CLI too — both read the session from ~/.config/dw/config.json."

    RowLayout {
        Layout.fillWidth: true
        Layout.minimumHeight: 32
        spacing: 10

        Spinner {
            visible: section.model.account === SettingsModel.SigningIn
        }
        AvatarView {
            visible: section.isPerson
            name: section.model.personName
            seed: section.model.personEmail
            size: 26
        }
        ColumnLayout {
            Layout.fillWidth: true
            visible: section.isPerson
            spacing: 1

            CuttableText {
                Layout.fillWidth: true
                text: section.model.personName
                textStyle: TextStyle.Callout
            }
            CuttableText {
                Layout.fillWidth: true
                text: section.model.personEmail
                textStyle: TextStyle.Caption
                tone: Tone.Muted
            }
        }
        AppText {
            Layout.fillWidth: true
            visible: !section.isPerson
            text: section.model.account === SettingsModel.SigningIn ? "Waiting for browser…" : section.model.accountText
            textStyle: TextStyle.Callout
            wrapMode: Text.Wrap
        }
        PushButton {
            visible: section.model.accountAction === SettingsModel.Cancel
            text: "Cancel"
            onClicked: section.model.cancelSignIn()
        }
        PushButton {
            visible: section.model.accountAction === SettingsModel.SignOut
            text: "Sign Out"
            onClicked: section.model.signOut()
        }
        PushButton {
            visible: section.model.accountAction === SettingsModel.SignIn
            text: "Sign In…"
            onClicked: section.model.signIn()
        }
    }
    AppText {
        Layout.fillWidth: true
        visible: text !== ""
        text: section.model.signInError
        textStyle: TextStyle.Caption
        tone: Tone.Danger
        wrapMode: Text.Wrap
    }
}
