import QtQuick
import QtQuick.Layouts
import Driftwell

ColumnLayout {
    id: phase

    required property DeploySheetModel model
    readonly property bool replaces: model.nameStatus === DeploySheetModel.Replaces

    spacing: 14
    Component.onCompleted: {
        field.forceActiveFocus();
        field.selectAll();
    }

    AppText {
        Layout.fillWidth: true
        text: phase.model.title
        textStyle: TextStyle.SheetTitle
        Accessible.role: Accessible.Heading
    }
    Rectangle {
        Layout.fillWidth: true
        implicitHeight: 36
        radius: 8
        color: DW.surfaceSubtle

        RowLayout {
            anchors.fill: parent
            anchors.leftMargin: 10
            anchors.rightMargin: 10
            spacing: 8

            Symbol {
                name: "folder"
                tone: Tone.Muted
            }
            CuttableText {
                Layout.fillWidth: true
                text: phase.model.folder
                textStyle: TextStyle.Callout
                elide: Text.ElideMiddle
            }
            AppText {
                text: phase.model.sizeSummary
                textStyle: TextStyle.Detail
                tone: Tone.Muted
            }
        }
    }
    LeftOut {
        Layout.fillWidth: true
        text: phase.model.folderWarning
    }
    LeftOut {
        Layout.fillWidth: true
        text: phase.model.unreadable
    }
    ColumnLayout {
        visible: phase.model.leftOut !== "" || phase.model.changes !== ""
        spacing: 3

        AppText {
            Layout.fillWidth: true
            visible: text !== ""
            wrapMode: Text.Wrap
            text: phase.model.changes
            textStyle: TextStyle.Caption
            tone: Tone.Muted
        }
        AppText {
            Layout.fillWidth: true
            visible: text !== ""
            wrapMode: Text.Wrap
            text: phase.model.leftOut
            textStyle: TextStyle.Caption
            tone: Tone.Muted
        }
    }
    AppText {
        text: "SITE NAME"
        textStyle: TextStyle.FieldLabel
        tone: Tone.Muted
    }
    Rectangle {
        Layout.fillWidth: true
        implicitHeight: 36
        radius: 8
        color: DW.surfaceSubtle

        Outline {
            anchors.fill: parent
            radius: parent.radius
            visible: !phase.model.nameEmpty
            stroke: 1.5
            border.color: phase.model.nameValid ? DW.accent : DW.danger
            opacity: phase.model.nameValid ? 0.7 : 0.6
        }
        RowLayout {
            anchors.fill: parent
            anchors.leftMargin: 10
            anchors.rightMargin: 10
            spacing: 0

            PlainField {
                id: field

                // As wide as what stands in it, so that the row reads as the address.
                Layout.preferredWidth: (text === "" ? placeholder.advanceWidth : contentWidth) + 3
                Layout.maximumWidth: parent.width * 0.62
                Layout.fillHeight: true
                text: phase.model.siteName
                placeholderText: "site-name"
                Accessible.name: "Site name"
                Accessible.description: phase.model.nameStatusText
                onTextEdited: phase.model.siteName = text
                onAccepted: phase.model.confirm()

                TextMetrics {
                    id: placeholder

                    font: field.font
                    text: field.placeholderText
                }
            }
            AppText {
                Layout.fillWidth: true
                text: "." + phase.model.host
                tone: Tone.Faint

                TapHandler {
                    onTapped: field.forceActiveFocus()
                }
            }
        }
    }
    Rectangle {
        Layout.fillWidth: true
        implicitHeight: status.implicitHeight + (phase.replaces ? 18 : 0)
        radius: 8
        color: phase.replaces ? Qt.alpha(DW.warning, 0.09) : "transparent"

        RowLayout {
            id: status

            anchors { left: parent.left; right: parent.right; verticalCenter: parent.verticalCenter }
            anchors.leftMargin: phase.replaces ? 10 : 0
            anchors.rightMargin: anchors.leftMargin
            spacing: 7

            Symbol {
                Layout.alignment: Qt.AlignTop
                name: phase.model.nameStatusSymbol
                tone: phase.model.nameStatusTone
            }
            ColumnLayout {
                spacing: 2

                AppText {
                    Layout.fillWidth: true
                    wrapMode: Text.WrapAtWordBoundaryOrAnywhere
                    maximumLineCount: 3
                    text: phase.model.nameStatusText
                    textStyle: TextStyle.Note
                    font.weight: phase.replaces ? Font.DemiBold : Font.Normal
                    tone: phase.model.nameStatusTone
                }
                AppText {
                    Layout.fillWidth: true
                    visible: phase.replaces
                    wrapMode: Text.Wrap
                    text: "The current version stays available as a rollback."
                    textStyle: TextStyle.Caption
                    tone: Tone.Muted
                }
                AppText {
                    Layout.fillWidth: true
                    visible: text !== ""
                    wrapMode: Text.WrapAtWordBoundaryOrAnywhere
                    maximumLineCount: 2
                    text: phase.model.replacedVersion
                    textStyle: TextStyle.Caption
                    tone: Tone.Muted
                }
            }
        }
    }
    RowLayout {
        Layout.alignment: Qt.AlignRight
        spacing: 8

        PushButton {
            text: "Cancel"
            onClicked: phase.model.close()
        }
        PushButton {
            text: "Deploy"
            prominent: true
            enabled: phase.model.canConfirm
            onClicked: phase.model.confirm()
        }
    }
}
