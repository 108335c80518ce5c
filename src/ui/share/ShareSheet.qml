pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Driftwell

// A site's audience and its working settings. Every change holds at once.
Sheet {
    id: sheet

    required property ShareSheetModel model

    title: model.title
    preferredWidth: 620
    leftPadding: 28
    rightPadding: 28
    onEscaped: model.close()

    ColumnLayout {
        width: parent.width
        height: Math.min(implicitHeight, sheet.room)
        spacing: 14

        RowLayout {
            spacing: 10

            AppText {
                Layout.fillWidth: true
                wrapMode: Text.WrapAtWordBoundaryOrAnywhere
                maximumLineCount: 3
                text: sheet.model.title
                textStyle: TextStyle.Hero
                Accessible.role: Accessible.Heading
            }
            IconButton {
                Layout.alignment: Qt.AlignTop
                implicitWidth: 30
                implicitHeight: 30
                symbol: "xmark"
                size: 12
                label: "Close sheet"
                onClicked: sheet.model.close()
            }
        }
        InviteField {
            Layout.fillWidth: true
            focus: true
            model: sheet.model
        }
        ScrollArea {
            id: area

            // Rings around what has the keyboard, and the bar, are beside the content.
            Layout.leftMargin: -8
            Layout.rightMargin: -20
            Layout.fillWidth: true
            Layout.fillHeight: true
            implicitHeight: settings.implicitHeight
            contentHeight: settings.implicitHeight

            ColumnLayout {
                id: settings

                x: 8
                width: area.width - 28
                spacing: 16

                PeopleWithAccess {
                    Layout.fillWidth: true
                    model: sheet.model
                }
                GeneralAccess {
                    Layout.fillWidth: true
                    model: sheet.model
                }
                ColumnLayout {
                    spacing: 12

                    SectionHeading {
                        Layout.fillWidth: true
                        text: "Working together"
                    }
                    Repeater {
                        model: sheet.model.libs

                        SettingRow {
                            required property string name

                            Layout.fillWidth: true
                            onSwitched: on => sheet.model.setLib(name, on)
                        }
                    }
                    SettingRow {
                        Layout.fillWidth: true
                        symbol: "bubble.left.and.bubble.right"
                        title: "Client comments"
                        description: "Let everyone with access leave comments, not just the team"
                        on: sheet.model.clientComments
                        busy: sheet.model.accessBusy
                        onSwitched: on => sheet.model.setClientComments(on)
                    }
                    SettingRow {
                        Layout.fillWidth: true
                        symbol: "person.2"
                        title: "Allow collaboration"
                        description: "Let team members open this project and publish changes"
                        on: sheet.model.collaboration
                        busy: sheet.model.collabBusy
                        onSwitched: on => sheet.model.setCollaboration(on)
                    }
                    LinkFolderRow {
                        Layout.fillWidth: true
                        visible: sheet.model.linkTitle !== ""
                        title: sheet.model.linkTitle
                        busy: sheet.model.collabBusy
                        onLinked: sheet.model.link()
                    }
                }
            }
        }
        ShareTrouble {
            Layout.fillWidth: true
            text: sheet.model.accessError
        }
        ShareTrouble {
            Layout.fillWidth: true
            text: sheet.model.libError
        }
        RowLayout {
            spacing: 8

            CopyButton {
                copySymbol: "link"
                copyText: "Copy link"
                copiedText: "Copied"
                copied: sheet.model.copied
                onClicked: sheet.model.copyLink()
            }
            Item {
                Layout.fillWidth: true
            }
            PushButton {
                text: "Done"
                prominent: true
                onClicked: sheet.model.close()
            }
        }
    }
}
