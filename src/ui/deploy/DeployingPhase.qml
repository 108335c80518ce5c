import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Driftwell

ColumnLayout {
    id: phase

    required property DeploySheetModel model
    property string activity: model.activity

    spacing: 12
    Component.onCompleted: cancel.forceActiveFocus(Qt.OtherFocusReason)

    AppText {
        Layout.fillWidth: true
        text: "Deploying " + phase.model.siteName
        textStyle: TextStyle.SheetTitle
        Accessible.role: Accessible.Heading
    }
    ProgressBar {
        id: bar

        Layout.fillWidth: true
        value: phase.model.progress
        Accessible.name: "Deployment"
        Accessible.description: phase.model.percentText

        background: Rectangle {
            implicitHeight: 6
            radius: 3
            color: DW.chip
        }
        contentItem: Item {
            Rectangle {
                width: bar.visualPosition * parent.width
                height: parent.height
                radius: 3
                color: DW.accent

                Behavior on width {
                    NumberAnimation { duration: 180 }
                }
            }
        }
    }
    RowLayout {
        AppText {
            text: phase.model.percentText
            monospaced: true
            textStyle: TextStyle.Detail
            tone: Tone.Accent
        }
        AppText {
            id: elapsed

            Layout.fillWidth: true
            horizontalAlignment: Text.AlignRight
            text: phase.model.elapsedText()
            monospaced: true
            textStyle: TextStyle.Detail
            tone: Tone.Muted
        }
        Timer {
            interval: 1000
            repeat: true
            running: phase.visible
            onTriggered: {
                elapsed.text = phase.model.elapsedText();
                phase.model.lookAgain();
            }
        }
    }
    ColumnLayout {
        Layout.topMargin: 2
        spacing: 8

        StageRow {
            Layout.fillWidth: true
            stageState: phase.model.packState
            label: phase.model.packLabel
        }
        StageRow {
            Layout.fillWidth: true
            stageState: phase.model.uploadState
            label: phase.model.uploadLabel
        }
        StageRow {
            Layout.fillWidth: true
            stageState: phase.model.publishState
            label: phase.model.publishLabel
        }
    }
    AppText {
        Layout.fillWidth: true
        wrapMode: Text.Wrap
        // One line, whatever there is to say, so that nothing moves.
        text: phase.activity === "" ? " " : phase.activity
        textStyle: TextStyle.Detail
        tone: Tone.Muted
        Accessible.ignored: phase.activity === ""
    }
    PushButton {
        id: cancel

        Layout.alignment: Qt.AlignRight
        text: "Cancel"
        onClicked: phase.model.close()
    }
}
