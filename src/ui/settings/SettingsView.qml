import QtQuick
import QtQuick.Layouts
import Driftwell

// The settings, in a window of their own.
FocusScope {
    id: view

    required property SettingsModel model

    // As high as the window has to be to show all at once.
    implicitWidth: 440
    implicitHeight: form.implicitHeight + 2 * form.margin
    focus: true
    Accessible.role: Accessible.Pane
    Accessible.name: "Settings"

    Rectangle {
        anchors.fill: parent
        color: DW.canvas
    }
    ScrollArea {
        id: area

        anchors.fill: parent
        contentHeight: view.implicitHeight

        ColumnLayout {
            id: form

            readonly property real margin: 20

            x: margin
            y: margin
            width: area.width - 2 * margin
            spacing: 18

            SettingsHost {
                Layout.fillWidth: true
                model: view.model
            }
            SettingsAccount {
                Layout.fillWidth: true
                model: view.model
            }
            SettingsCommandLine {
                Layout.fillWidth: true
                model: view.model
            }
            SettingsUpdates {
                Layout.fillWidth: true
                model: view.model
            }
            SettingsSection {
                Layout.fillWidth: true

                LaunchToggle {
                    Layout.fillWidth: true
                    model: view.model.launchAtLogin
                    text: "Launch Driftwell at login"
                }
            }
        }
    }
}
