pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Driftwell

// Two people have changed the same lines: the files, and the ways out.
Sheet {
    id: sheet

    required property ConflictSheetModel model

    title: model.title
    preferredWidth: 460
    padding: 22
    onEscaped: model.close()

    ColumnLayout {
        width: parent.width
        height: Math.min(implicitHeight, sheet.room)
        spacing: 14

        SheetHeading {
            Layout.fillWidth: true
            symbol: sheet.model.resolved ? "checkmark.circle.fill" : "arrow.triangle.merge"
            symbolTone: sheet.model.resolved ? Tone.Accent : Tone.Warning
            text: sheet.model.title
            font.weight: Font.DemiBold
        }
        AppText {
            Layout.fillWidth: true
            visible: sheet.model.resolved
            wrapMode: Text.Wrap
            text: "The merged version is being published — this project will be live in a moment."
            textStyle: TextStyle.Callout
            tone: Tone.Muted
        }
        AppText {
            Layout.fillWidth: true
            visible: !sheet.model.resolved
            wrapMode: Text.Wrap
            text: "You both edited the same lines. The affected files now contain both versions — the fix is a file edit, which your agent is good at."
            textStyle: TextStyle.Callout
            tone: Tone.Muted
        }
        Rectangle {
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.minimumHeight: Math.min(implicitHeight, 100)
            visible: !sheet.model.resolved && files.count > 0
            implicitHeight: Math.min(files.contentHeight, 10.5 * 26) + 20
            radius: 8
            color: DW.surfaceSubtle

            ReadingList {
                id: files

                anchors.fill: parent
                anchors.topMargin: 10
                anchors.bottomMargin: 10
                label: "Files with both versions"
                model: sheet.model.files

                delegate: ConflictFileRow {
                    width: files.width
                }
            }
        }
        CopyButton {
            id: copy

            visible: !sheet.model.resolved
            focus: visible
            prominent: true
            copySymbol: "doc.on.clipboard"
            copyText: "Copy prompt for your agent"
            copiedText: "Copied — paste it into your agent"
            copied: sheet.model.copied
            onClicked: sheet.model.copyPrompt()
        }
        AppText {
            Layout.fillWidth: true
            visible: !sheet.model.resolved
            wrapMode: Text.Wrap
            text: "Once the files are fixed, publishing happens automatically — leave this to your agent and watch the row settle."
            textStyle: TextStyle.Callout
            tone: Tone.Muted
        }
        Flow {
            Layout.fillWidth: true
            visible: !sheet.model.resolved
            spacing: 8

            AppText {
                height: mine.height
                verticalAlignment: Text.AlignVCenter
                text: "No agent handy?"
                textStyle: TextStyle.Detail
                tone: Tone.Muted
            }
            SmallButton {
                id: mine

                text: "Keep mine"
                onClicked: sheet.model.keepMine()
            }
            SmallButton {
                width: Math.min(implicitWidth, parent.width)
                text: sheet.model.keepTheirsLabel
                onClicked: sheet.model.keepTheirs()
            }
        }
        PushButton {
            id: closeButton

            Layout.alignment: Qt.AlignRight
            text: "Close"
            onClicked: sheet.model.close()
        }
    }
    Connections {
        target: sheet.model

        function onResolvedChanged(): void {
            // What had the keyboard has gone.
            closeButton.forceActiveFocus();
        }
    }
}
