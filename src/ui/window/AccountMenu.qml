import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Driftwell

// Who is signed in and where, and what can be done about it.
ChoiceMenu {
    id: menu

    required property ToolbarModel model

    width: 264

    MenuItem {
        enabled: false
        implicitHeight: implicitContentHeight + 20
        leftPadding: 12
        rightPadding: 12
        background: null
        Accessible.name: menu.model.personTip + " · " + menu.model.host

        contentItem: RowLayout {
            spacing: 10

            AvatarView {
                name: menu.model.personName
                seed: menu.model.personEmail
                size: 32
                Accessible.ignored: true
            }
            ColumnLayout {
                spacing: 2

                AppText {
                    Layout.fillWidth: true
                    text: menu.model.personName
                    font.weight: Font.Medium
                    Accessible.ignored: true
                }
                AppText {
                    Layout.fillWidth: true
                    text: menu.model.personEmail
                    textStyle: TextStyle.Caption
                    tone: Tone.Muted
                    elide: Text.ElideMiddle
                    Accessible.ignored: true
                }
                AppText {
                    Layout.fillWidth: true
                    text: menu.model.host
                    monospaced: true
                    textStyle: TextStyle.Caption
                    tone: Tone.Faint
                    elide: Text.ElideMiddle
                    Accessible.ignored: true
                }
            }
        }
    }
    MenuDivider {}
    MenuEntry {
        text: "Change Platform…"
        onTriggered: menu.model.openSettings()
    }
    MenuEntry {
        visible: menu.model.signOutOffered
        // The keyboard would reach what is only hidden.
        enabled: menu.model.signOutOffered
        height: implicitHeight
        text: "Sign Out"
        onTriggered: menu.model.signOut()
    }
}
