import QtQuick
import QtQuick.Layouts
import Driftwell

// Offers to install the git that shared projects need.
Sheet {
    id: sheet

    required property GitInstallModel model

    title: "One-time setup for collaboration"
    preferredWidth: 440
    padding: 22
    onEscaped: model.notNow()

    ColumnLayout {
        width: parent.width
        spacing: 14

        SheetHeading {
            Layout.fillWidth: true
            symbol: "wrench.and.screwdriver"
            symbolSize: 14
            text: sheet.title
            font.weight: Font.DemiBold
        }
        AppText {
            Layout.fillWidth: true
            wrapMode: Text.Wrap
            text: Wording.here("Working on shared projects needs Apple’s Command Line Tools (a small free download). Apple’s installer takes over from here; come back and press “Check again” when it finishes.")
            textStyle: TextStyle.Callout
            tone: Tone.Muted
        }
        RowLayout {
            spacing: 8

            PushButton {
                text: "Check again"
                onClicked: sheet.model.checkAgain()
            }
            Item {
                Layout.fillWidth: true
            }
            PushButton {
                text: "Not now"
                onClicked: sheet.model.notNow()
            }
            PushButton {
                text: "Install"
                prominent: true
                focus: true
                onClicked: sheet.model.install()
            }
        }
    }
}
