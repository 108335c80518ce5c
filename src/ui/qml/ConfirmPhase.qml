import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Driftwell

ColumnLayout {
    id: phase

    required property DeploySheetModel model
    readonly property bool replaces: model.nameStatus === DeploySheetModel.Replaces
    readonly property color statusColor: switch (model.nameStatus) {
        case DeploySheetModel.Missing: return DW.textSecondary;
        case DeploySheetModel.Free: return DW.accent;
        case DeploySheetModel.Replaces: return DW.warning;
        default: return DW.danger;
    }

    spacing: 14
    Component.onCompleted: {
        field.forceActiveFocus();
        field.selectAll();
    }

    AppText {
        Layout.fillWidth: true
        text: phase.model.title
        size: 15
        font.weight: Font.Bold
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
                size: 16
                color: DW.textSecondary
            }
            AppText {
                id: folder

                Layout.fillWidth: true
                text: phase.model.folder
                size: 12.5
                elide: Text.ElideMiddle

                HoverHandler {
                    id: folderHover

                    enabled: folder.truncated
                }
                Tip {
                    text: folder.text
                    visible: folderHover.hovered
                }
            }
            AppText {
                text: phase.model.sizeSummary
                size: 11.5
                color: DW.textSecondary
            }
        }
    }
    ColumnLayout {
        Layout.fillWidth: true
        spacing: 6

        AppText {
            text: "SITE NAME"
            size: 10
            font.weight: Font.DemiBold
            font.letterSpacing: 0.6
            color: DW.textSecondary
        }
        Rectangle {
            Layout.fillWidth: true
            implicitHeight: 36
            radius: 8
            color: DW.surfaceSubtle

            Rectangle {
                anchors.fill: parent
                radius: parent.radius
                color: "transparent"
                visible: !phase.model.nameEmpty
                border.width: 1.5
                border.color: phase.model.nameValid ? DW.accent : DW.danger
                opacity: phase.model.nameValid ? 0.7 : 0.6
            }
            RowLayout {
                anchors.fill: parent
                anchors.leftMargin: 10
                anchors.rightMargin: 10
                spacing: 0

                TextField {
                    id: field

                    // As wide as what stands in it, so that the row reads as the address.
                    Layout.preferredWidth: (text === "" ? placeholder.advanceWidth : contentWidth) + 3
                    Layout.maximumWidth: parent.width * 0.62
                    Layout.fillHeight: true
                    padding: 0
                    verticalAlignment: TextInput.AlignVCenter
                    text: phase.model.siteName
                    placeholderText: "site-name"
                    font.pointSize: 13 * 0.75
                    color: DW.textPrimary
                    placeholderTextColor: DW.textTertiary
                    selectionColor: DW.accent
                    selectedTextColor: DW.dark ? DW.canvas : "white"
                    background: null
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
                    color: DW.textTertiary

                    TapHandler {
                        onTapped: field.forceActiveFocus()
                    }
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
                name: phase.replaces ? "square.stack.3d.up" : phase.model.nameStatus === DeploySheetModel.Free ? "sparkles" : "exclamationmark.circle"
                size: 15
                color: phase.statusColor
            }
            ColumnLayout {
                spacing: 2

                AppText {
                    Layout.fillWidth: true
                    wrapMode: Text.WrapAtWordBoundaryOrAnywhere
                    maximumLineCount: 3
                    text: phase.model.nameStatusText
                    size: 12
                    font.weight: phase.replaces ? Font.DemiBold : Font.Normal
                    color: phase.statusColor
                    Accessible.role: Accessible.StaticText
                }
                AppText {
                    Layout.fillWidth: true
                    visible: phase.replaces
                    wrapMode: Text.Wrap
                    text: "The current version stays available as a rollback."
                    size: 11
                    color: DW.textSecondary
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
            enabled: phase.model.nameValid
            onClicked: phase.model.confirm()
        }
    }
}
