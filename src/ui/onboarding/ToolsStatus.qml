import QtQuick
import QtQuick.Layouts
import Driftwell

// Whether git is there, and the way to it.
ColumnLayout {
    id: status

    required property OnboardingModel model

    spacing: 6

    Outcome {
        Layout.alignment: Qt.AlignRight
        visible: status.model.gitTools !== OnboardingModel.Missing
        busy: status.model.gitTools !== OnboardingModel.Present
        symbol: status.model.gitTools === OnboardingModel.Present ? "checkmark.circle.fill" : ""
        text: status.model.gitTools === OnboardingModel.Present ? "Installed" :
            status.model.gitTools === OnboardingModel.Prompted ? Wording.here("Waiting for Apple’s installer…") : ""
    }
    PushButton {
        Layout.alignment: Qt.AlignRight
        visible: status.model.gitTools === OnboardingModel.Missing
        text: "Install…"
        details: Wording.here("Command Line Tools")
        onClicked: status.model.promptGitInstall()
    }
    PushButton {
        Layout.alignment: Qt.AlignRight
        visible: status.model.gitTools === OnboardingModel.Prompted
        text: "Open again"
        onClicked: status.model.promptGitInstall()
    }
}
