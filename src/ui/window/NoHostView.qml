import QtQuick
import QtQuick.Layouts
import Driftwell

// The first thing a person sees who has no platform yet.
Item {
    id: view

    required property MainWindowModel model

    function connectToHost(): void {
        if (connectButton.enabled) {
            model.setHost(host.text);
        }
    }

    Component.onCompleted: host.forceActiveFocus()

    ColumnLayout {
        anchors.centerIn: parent
        width: Math.min(360, parent.width - 40)
        spacing: 10

        Symbol {
            Layout.alignment: Qt.AlignHCenter
            name: "antenna.radiowaves.left.and.right"
            size: 30
            tone: Tone.Accent
        }
        AppText {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            text: "Where does your team deploy?"
            textStyle: TextStyle.ScreenTitle
        }
        AppText {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: "Enter your Driftwell platform host — the same one\n`dw host` sets for the CLI."
            textStyle: TextStyle.Note
            tone: Tone.Muted
            lineHeight: 1.25
        }
        RowLayout {
            Layout.topMargin: 8
            Layout.alignment: Qt.AlignHCenter
            spacing: 8

            InputField {
                id: host

                Layout.preferredWidth: 240
                placeholderText: view.model.exampleHost
                Accessible.name: "Platform host"
                onAccepted: view.connectToHost()
            }
            PushButton {
                id: connectButton

                text: "Connect"
                prominent: true
                enabled: host.text.trim() !== ""
                onClicked: view.connectToHost()
            }
        }
    }
}
