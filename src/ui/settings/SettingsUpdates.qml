import QtQuick
import QtQuick.Layouts
import Driftwell

SettingsSection {
    id: section

    required property SettingsModel model

    title: "Updates"
    footer: model.updatesFooter

    RowLayout {
        Layout.fillWidth: true
        Layout.minimumHeight: 32
        spacing: 10

        ColumnLayout {
            Layout.fillWidth: true
            spacing: 1

            CuttableText {
                Layout.fillWidth: true
                text: section.model.versionLabel
                textStyle: TextStyle.Callout
                font.weight: Font.DemiBold
            }
            AppText {
                Layout.fillWidth: true
                visible: text !== ""
                text: section.model.lastCheck
                textStyle: TextStyle.Caption
                tone: Tone.Muted
            }
        }
        PushButton {
            visible: section.model.updatesEnabled
            enabled: section.model.canCheck
            text: "Check for Updates…"
            onClicked: section.model.checkForUpdates()
        }
    }
}
