import QtQuick
import QtQuick.Layouts
import Driftwell

SettingsSection {
    id: section

    required property SettingsModel model

    title: "Command line"
    footer: model.cliFooter

    RowLayout {
        Layout.fillWidth: true
        Layout.minimumHeight: 32
        spacing: 10

        ColumnLayout {
            Layout.fillWidth: true
            spacing: 1

            CuttableText {
                Layout.fillWidth: true
                text: section.model.cliTitle
                textStyle: TextStyle.Callout
                font.weight: Font.DemiBold
            }
            AppText {
                id: path

                Layout.fillWidth: true
                visible: text !== ""
                text: section.model.cliPath
                monospaced: true
                textStyle: TextStyle.Caption
                tone: Tone.Muted
                elide: Text.ElideMiddle

                HoverHandler {
                    id: pathHover
                }
                RestingTip {
                    text: path.text
                    resting: pathHover.hovered
                }
            }
        }
        AppText {
            visible: text !== ""
            text: section.model.cliNote
            textStyle: TextStyle.Caption
            tone: Tone.Muted
        }
        Spinner {
            visible: section.model.cliControl === SettingsModel.Busy
        }
        PushButton {
            visible: section.model.cliControl === SettingsModel.Install
            text: "Install…"
            onClicked: section.model.installCli()
        }
        PushButton {
            visible: section.model.cliControl === SettingsModel.Relink
            text: "Relink…"
            onClicked: section.model.installCli()
        }
        PushButton {
            visible: section.model.cliControl === SettingsModel.Remove
            text: "Remove…"
            onClicked: section.model.removeCli()
        }
    }
    AppText {
        Layout.fillWidth: true
        visible: text !== ""
        text: section.model.cliError
        textStyle: TextStyle.Caption
        tone: Tone.Danger
        wrapMode: Text.Wrap
    }
}
