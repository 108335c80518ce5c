import QtQuick
import QtQuick.Layouts
import Driftwell

// What can be done next has the keyboard.
FocusScope {
    id: view

    required property SignInModel model

    ColumnLayout {
        anchors.centerIn: parent
        width: Math.min(320, parent.width - 40)
        spacing: 12

        Symbol {
            Layout.alignment: Qt.AlignHCenter
            name: view.model.symbol
            size: 30
            tone: Tone.Accent
        }
        AppText {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: view.model.title
            textStyle: TextStyle.ScreenTitle
        }
        AppText {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: view.model.text
            textStyle: TextStyle.Note
            tone: Tone.Muted
            lineHeight: 1.25
        }
        Rectangle {
            Layout.alignment: Qt.AlignHCenter
            Layout.maximumWidth: parent.width
            visible: view.model.hasIdentity
            implicitWidth: chip.implicitWidth + 16
            implicitHeight: 30
            radius: 15
            color: DW.chip

            RowLayout {
                id: chip

                anchors.fill: parent
                anchors.leftMargin: 6
                anchors.rightMargin: 10
                spacing: 7

                AvatarView {
                    name: view.model.personName
                    seed: view.model.personEmail
                    size: 20
                }
                AppText {
                    Layout.fillWidth: true
                    text: view.model.personEmail
                    monospaced: true
                    textStyle: TextStyle.Detail
                    tone: Tone.Muted
                }
            }
        }
        RowLayout {
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 4
            visible: view.model.action === SignInModel.Cancel
            spacing: 10

            Spinner {}
            AppText {
                text: "Waiting for browser…"
                textStyle: TextStyle.Callout
            }
            PushButton {
                text: "Cancel"
                focus: view.model.action === SignInModel.Cancel
                onClicked: view.model.cancelSignIn()
            }
        }
        PushButton {
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 4
            visible: view.model.action === SignInModel.SignOut
            text: "Sign out"
            focus: view.model.action === SignInModel.SignOut
            onClicked: view.model.signOut()
        }
        PushButton {
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 4
            visible: view.model.action === SignInModel.SignIn
            text: "Sign in…"
            focus: view.model.action === SignInModel.SignIn
            prominent: true
            onClicked: view.model.signIn()
        }
        AppText {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            visible: text !== ""
            text: view.model.error
            textStyle: TextStyle.Note
            tone: Tone.Danger
        }
        SmallButton {
            Layout.alignment: Qt.AlignHCenter
            visible: view.model.action !== SignInModel.Cancel
            text: "Change platform…"
            onClicked: view.model.changePlatform()
        }
        CodeText {
            Layout.fillWidth: true
            Layout.topMargin: 4
            horizontalAlignment: Text.AlignHCenter
            source: "The same session `dw login` uses — sign in once for both."
            textStyle: TextStyle.Caption
            tone: Tone.Faint
        }
    }
}
