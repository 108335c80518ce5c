import QtQuick
import QtQuick.Layouts
import Driftwell

Item {
    id: view

    required property SignInModel model

    ColumnLayout {
        anchors.centerIn: parent
        width: Math.min(320, parent.width - 40)
        spacing: 12

        Symbol {
            Layout.alignment: Qt.AlignHCenter
            name: view.model.symbol
            size: 34
            color: DW.accent
        }
        AppText {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: view.model.title
            size: 16
            font.weight: Font.DemiBold
        }
        AppText {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: view.model.text
            size: 12
            color: DW.textSecondary
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
                    size: 11.5
                    color: DW.textSecondary
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
                size: 12.5
            }
            PushButton {
                text: "Cancel"
                onClicked: view.model.cancelSignIn()
            }
        }
        PushButton {
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 4
            visible: view.model.action === SignInModel.SignOut
            text: "Sign out"
            onClicked: view.model.signOut()
        }
        PushButton {
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 4
            visible: view.model.action === SignInModel.SignIn
            text: "Sign in…"
            prominent: true
            onClicked: view.model.signIn()
        }
        AppText {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            visible: text !== ""
            text: view.model.error
            size: 12
            color: DW.danger
        }
        AppText {
            Layout.fillWidth: true
            Layout.topMargin: 4
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: "The same session `dw login` uses — sign in once for both."
            size: 11
            color: DW.textTertiary
        }
    }
}
