import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Driftwell

ColumnLayout {
    id: phase

    required property DeploySheetModel model
    readonly property bool live: model.aftermath === DeploySheetModel.Live || model.aftermath === DeploySheetModel.Overtaken

    spacing: 12
    Component.onCompleted: again.forceActiveFocus(Qt.OtherFocusReason)

    RowLayout {
        spacing: 7

        Symbol {
            name: "exclamationmark.triangle.fill"
            size: 15
            tone: Tone.Danger
        }
        AppText {
            Layout.fillWidth: true
            text: "Deploy failed"
            textStyle: TextStyle.SheetTitle
            Accessible.role: Accessible.Heading
        }
    }
    Flickable {
        Layout.fillWidth: true
        implicitHeight: Math.min(message.implicitHeight, 240)
        contentHeight: message.implicitHeight
        boundsBehavior: Flickable.StopAtBounds
        clip: true

        ScrollBar.vertical: ListBar {}

        AppText {
            id: message

            width: parent.width
            wrapMode: Text.WrapAtWordBoundaryOrAnywhere
            text: phase.model.failure
            textStyle: TextStyle.Callout
            tone: Tone.Muted
        }
    }
    RowLayout {
        Layout.fillWidth: true
        visible: phase.model.aftermath !== DeploySheetModel.None
        spacing: 7

        Spinner {
            Layout.alignment: Qt.AlignTop
            Layout.topMargin: 2
            visible: phase.model.aftermath === DeploySheetModel.Asked
            size: 13
        }
        Symbol {
            Layout.alignment: Qt.AlignTop
            visible: phase.live || phase.model.aftermath === DeploySheetModel.Unknown
            name: phase.live ? "checkmark.circle.fill" : "exclamationmark.circle"
            size: 13
            tone: phase.live ? Tone.Accent : Tone.Warning
        }
        ColumnLayout {
            spacing: 4

            AppText {
                Layout.fillWidth: true
                wrapMode: Text.WrapAtWordBoundaryOrAnywhere
                text: phase.model.aftermathText
                textStyle: TextStyle.Callout
            }
            LinkButton {
                Layout.maximumWidth: parent.width
                visible: text !== ""
                text: phase.model.aftermathAddress
                tip: "Open " + phase.model.aftermathUrl
                onClicked: phase.model.openAftermath()
            }
        }
    }
    RowLayout {
        Layout.alignment: Qt.AlignRight
        spacing: 8

        PushButton {
            text: "Close"
            onClicked: phase.model.close()
        }
        PushButton {
            id: again

            text: "Try again"
            prominent: true
            onClicked: phase.model.retry()
        }
    }
}
