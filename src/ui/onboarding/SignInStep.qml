import QtQuick
import QtQuick.Layouts
import Driftwell

ColumnLayout {
    id: step

    required property OnboardingModel model

    spacing: 18

    function markOf(account: int): string {
        switch (account) {
        case OnboardingModel.Known:
            return "checkmark.circle.fill";
        case OnboardingModel.Unreachable:
            return "exclamationmark.circle";
        case OnboardingModel.NotTeam:
            return "exclamationmark.triangle.fill";
        case OnboardingModel.Unknown:
            return "person.crop.circle";
        default:
            return "";
        }
    }

    function toneOf(account: int): int {
        switch (account) {
        case OnboardingModel.Known:
            return Tone.Accent;
        case OnboardingModel.Unreachable:
            return Tone.Danger;
        case OnboardingModel.NotTeam:
            return Tone.Warning;
        default:
            return Tone.Muted;
        }
    }

    component Labelled: RowLayout {
        id: labelled

        required property string label
        default property alias content: place.data

        spacing: 14
        Accessible.role: Accessible.Grouping
        Accessible.name: label

        AppText {
            Layout.preferredWidth: 72
            text: labelled.label
            tone: Tone.Muted
        }
        RowLayout {
            id: place

            Layout.fillWidth: true
            Layout.minimumHeight: 32
            spacing: 10
        }
    }

    StepHeader {
        Layout.fillWidth: true
        title: "Sign in to your team"
        subtitle: "Driftwell uses your team account. Your browser handles the sign-in — or creates the account if you’re new — then brings you straight back here."
    }
    Card {
        Layout.fillWidth: true
        implicitHeight: rows.implicitHeight + 24

        ColumnLayout {
            id: rows

            anchors { left: parent.left; right: parent.right; top: parent.top; margins: 12; leftMargin: 16; rightMargin: 16 }
            spacing: 10

            Labelled {
                Layout.fillWidth: true
                label: "Platform"

                HostRow {
                    Layout.fillWidth: true
                    model: step.model
                }
            }
            AppText {
                Layout.fillWidth: true
                Layout.leftMargin: 86
                visible: text !== ""
                text: step.model.hostError
                textStyle: TextStyle.Note
                tone: Tone.Danger
                wrapMode: Text.WrapAtWordBoundaryOrAnywhere
                maximumLineCount: 4
            }
            Rectangle {
                Layout.fillWidth: true
                implicitHeight: 1
                color: DW.rowDivider
            }
            Labelled {
                Layout.fillWidth: true
                label: "Account"

                Outcome {
                    Layout.fillWidth: true
                    busy: step.model.account === OnboardingModel.Waiting
                    symbol: step.markOf(step.model.account)
                    tone: step.toneOf(step.model.account)
                    text: step.model.accountText
                }
                PushButton {
                    visible: step.model.account === OnboardingModel.Waiting
                    text: "Cancel"
                    onClicked: step.model.cancelSignIn()
                }
                PushButton {
                    visible: step.model.account === OnboardingModel.Unreachable
                    enabled: !step.model.retrying
                    text: step.model.retrying ? "Retrying…" : "Retry now"
                    onClicked: step.model.retryNow()
                }
            }
            AppText {
                Layout.fillWidth: true
                Layout.leftMargin: 86
                visible: text !== ""
                text: step.model.outage
                textStyle: TextStyle.Note
                tone: Tone.Muted
                wrapMode: Text.WrapAtWordBoundaryOrAnywhere
                maximumLineCount: 4
            }
        }
    }
    AppText {
        Layout.fillWidth: true
        visible: text !== ""
        text: step.model.signInError
        textStyle: TextStyle.Note
        tone: Tone.Danger
        wrapMode: Text.Wrap
    }
    AppText {
        Layout.fillWidth: true
        text: "This is the same session the dw command-line tool uses — sign in once for both."
        textStyle: TextStyle.Note
        tone: Tone.Faint
        wrapMode: Text.Wrap
    }
}
