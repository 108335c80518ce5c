import QtQuick
import QtQuick.Layouts
import Driftwell

ColumnLayout {
    id: step

    required property OnboardingModel model

    spacing: 22

    StepHeader {
        Layout.fillWidth: true
        title: Wording.here("Set up your Mac")
        subtitle: "Two small installs and one optional setting. Nothing else asks for permission."
    }
    SetupRow {
        Layout.fillWidth: true
        symbol: "terminal"
        title: Wording.here("Command Line Tools")
        detail: Wording.here("Editing projects together syncs folders with git, which ships in Apple’s free Command Line Tools.")

        ToolsStatus {
            Layout.alignment: Qt.AlignRight
            model: step.model
        }
    }
    SetupRow {
        Layout.fillWidth: true
        symbol: "chevron.left.forwardslash.chevron.right"
        title: "Command line and agent skills"
        detail: step.model.cliDetail

        CLIStatusControl {
            Layout.alignment: Qt.AlignRight
            model: step.model
        }
    }
    SetupRow {
        id: login

        Layout.fillWidth: true
        symbol: "menubar.arrow.up.rectangle"
        title: "Open at login"
        detail: "Keep Driftwell in your menu bar so a folder drop is always one drag away."

        LaunchToggle {
            Layout.alignment: Qt.AlignRight
            model: step.model.launchAtLogin
            Accessible.name: login.title
        }
    }
    AppText {
        Layout.fillWidth: true
        text: "Driftwell only reads the folders you drop on it and talks to your platform host. It never needs access to your other files."
        textStyle: TextStyle.Note
        tone: Tone.Faint
        wrapMode: Text.Wrap
        lineHeight: 1.2
    }
}
