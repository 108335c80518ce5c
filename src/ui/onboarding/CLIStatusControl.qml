import QtQuick
import QtQuick.Layouts
import Driftwell

// How the command-line tool stands, and the way to it.
ColumnLayout {
    id: control

    required property OnboardingModel model
    readonly property bool offersInstall: model.cli === OnboardingModel.NotInstalled || model.cli === OnboardingModel.Elsewhere

    spacing: 6

    Outcome {
        Layout.alignment: Qt.AlignRight
        visible: !control.offersInstall
        busy: control.model.cli === OnboardingModel.Busy || control.model.cli === OnboardingModel.Checking
        symbol: control.model.cli === OnboardingModel.Linked ? "checkmark.circle.fill" : ""
        text: control.model.cliText
    }
    AppText {
        Layout.fillWidth: true
        visible: control.offersInstall && text !== ""
        horizontalAlignment: Text.AlignRight
        text: control.model.cliError
        textStyle: TextStyle.Caption
        tone: Tone.Danger
        wrapMode: Text.Wrap
    }
    PushButton {
        Layout.alignment: Qt.AlignRight
        visible: control.offersInstall
        text: control.model.cli === OnboardingModel.Elsewhere ? "Relink…" : "Install…"
        details: "Command line and agent skills"
        onClicked: control.model.installCli()
    }
}
