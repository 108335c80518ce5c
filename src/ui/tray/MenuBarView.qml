pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Driftwell

// The panel of the tray item.
Rectangle {
    id: view

    required property MenuBarModel model

    // The panel is to go away.
    signal dismissed

    implicitWidth: 300
    implicitHeight: column.implicitHeight + 16
    color: DW.card
    border.color: DW.borderStrong
    border.width: 1
    Accessible.role: Accessible.PopupMenu
    Accessible.name: "Driftwell"

    component Divider: Rectangle {
        Layout.fillWidth: true
        Layout.topMargin: 5
        Layout.bottomMargin: 5
        Layout.leftMargin: 14
        Layout.rightMargin: 14
        implicitHeight: 1
        color: DW.rowDivider
        Accessible.role: Accessible.Separator
    }
    component FooterButton: Pressable {
        id: footerButton

        implicitWidth: implicitContentWidth
        implicitHeight: 24
        ringShown: false

        contentItem: AppText {
            text: footerButton.text
            textStyle: TextStyle.Caption
            verticalAlignment: Text.AlignVCenter
            tone: !footerButton.enabled ? Tone.Faint : footerButton.highlighted ? Tone.Primary : Tone.Muted
            font.underline: footerButton.visualFocus
            Accessible.ignored: true
        }
    }

    function openSettings(): void {
        view.dismissed();
        view.model.openSettings();
    }

    function moveKeyboard(forward: bool): void {
        const next = (view.Window.activeFocusItem ?? column).nextItemInFocusChain(forward);
        next.forceActiveFocus(forward ? Qt.TabFocusReason : Qt.BacktabFocusReason);
    }
    // The first command has the keyboard, as in a menu.
    Window.onActiveChanged: {
        if (view.Window.active)
            column.nextItemInFocusChain().forceActiveFocus(Qt.TabFocusReason);
    }

    ColumnLayout {
        id: column

        anchors { left: parent.left; right: parent.right; verticalCenter: parent.verticalCenter }
        spacing: 0

        RowLayout {
            Layout.leftMargin: 14
            Layout.rightMargin: 14
            Layout.topMargin: 4
            Layout.bottomMargin: 2
            spacing: 10

            StatusDot {
                size: 8
                tone: view.model.statusTone
            }
            ColumnLayout {
                spacing: 2

                CuttableText {
                    Layout.fillWidth: true
                    text: view.model.title
                    textStyle: TextStyle.Callout
                    font.weight: Font.DemiBold
                }
                CuttableText {
                    Layout.fillWidth: true
                    text: view.model.subtitle
                    textStyle: TextStyle.Caption
                    tone: Tone.Muted
                }
            }
        }
        Divider {}
        AppText {
            Layout.leftMargin: 14
            Layout.bottomMargin: 3
            visible: recent.count > 0
            text: "RECENTLY DEPLOYED"
            textStyle: TextStyle.Overline
            tone: Tone.Muted
        }
        Repeater {
            id: recent

            // By number, so that a row with the keyboard stays while its age changes.
            model: view.model.recentSites.length

            RecentSiteRow {
                required property int index
                readonly property var site: view.model.recentSites[index]

                Layout.fillWidth: true
                name: site?.name ?? ""
                age: site?.age ?? ""
                deploying: site?.deploying ?? false
                publishable: site?.publishable ?? false
                onClicked: view.model.openSite(index)
                onPublishedAgain: {
                    view.dismissed();
                    view.model.publishAgain(index);
                }
            }
        }
        Divider {
            visible: recent.count > 0
        }
        MenuRowButton {
            Layout.fillWidth: true
            symbol: "macwindow"
            text: "Open Driftwell"
            shortcut: Wording.here("⌘0")
            onClicked: {
                view.dismissed();
                view.model.openWindow();
            }
        }
        Divider {}
        RowLayout {
            Layout.leftMargin: 14
            Layout.rightMargin: 14
            spacing: 8

            FooterButton {
                text: "Settings…"
                onClicked: view.openSettings()
            }
            FooterButton {
                visible: text !== ""
                text: view.model.authTitle
                onClicked: {
                    view.dismissed();
                    view.model.runAuthAction();
                }
            }
            FooterButton {
                // What gives way where the letters are wider than usual.
                Layout.fillWidth: true
                Layout.maximumWidth: implicitWidth
                visible: view.model.updatesEnabled
                enabled: view.model.canCheckForUpdates
                text: "Check for Updates…"
                onClicked: {
                    view.dismissed();
                    view.model.checkForUpdates();
                }
            }
            Item {
                Layout.fillWidth: true
            }
            FooterButton {
                text: "Quit"
                onClicked: view.model.quit()
            }
        }
    }
    Shortcut {
        sequences: ["Escape"]
        onActivated: view.dismissed()
    }
    Shortcut {
        sequences: ["Down"]
        onActivated: view.moveKeyboard(true)
    }
    Shortcut {
        sequences: ["Up"]
        onActivated: view.moveKeyboard(false)
    }
    Shortcut {
        sequences: ["Ctrl+,"]
        onActivated: view.openSettings()
    }
    Shortcut {
        sequences: ["Ctrl+0"]
        onActivated: {
            view.dismissed();
            view.model.openWindow();
        }
    }
}
