import QtQuick
import QtQuick.Layouts
import Driftwell

// The first thing a person sees who has no platform yet, or who wants another one.
FocusScope {
    id: view

    required property MainWindowModel model

    focus: true

    function connectToHost(): void {
        if (connectButton.enabled) {
            model.setHost(host.text);
        }
    }

    Component.onCompleted: {
        if (model.choosingPlatform) {
            host.text = model.presentPlatform;
            host.selectAll();
        }
        host.forceActiveFocus();
    }
    Keys.onEscapePressed: model.keepPlatform()

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
        CodeText {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            source: "Enter your Driftwell platform host — the same one\n`dw host` sets for the CLI."
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

                focus: true
                Layout.preferredWidth: 240
                placeholderText: view.model.exampleHost
                Accessible.name: "Platform host"
                Accessible.description: view.model.hostError
                onTextEdited: view.model.clearHostError()
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
        AppText {
            Layout.fillWidth: true
            visible: text !== ""
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WrapAtWordBoundaryOrAnywhere
            maximumLineCount: 4
            text: view.model.hostError
            textStyle: TextStyle.Caption
            tone: Tone.Danger
        }
        SmallButton {
            Layout.alignment: Qt.AlignHCenter
            Layout.maximumWidth: parent.width
            visible: view.model.choosingPlatform
            text: "Stay with " + view.model.host
            onClicked: view.model.keepPlatform()
        }
        RowLayout {
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 8
            Layout.maximumWidth: 280
            spacing: 10

            Rectangle {
                Layout.fillWidth: true
                implicitHeight: 1
                color: DW.border
            }
            AppText {
                text: "or"
                textStyle: TextStyle.Hint
                tone: Tone.Muted
            }
            Rectangle {
                Layout.fillWidth: true
                implicitHeight: 1
                color: DW.border
            }
        }
        PushButton {
            Layout.alignment: Qt.AlignHCenter
            text: "Run the platform locally…"
            onClicked: view.model.chooseRepoAndRunLocalPlatform()
        }
        AppText {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: "Point it at a driftwell repo checkout — the app runs\nits dev server in the background while it’s open."
            textStyle: TextStyle.Caption
            tone: Tone.Muted
            lineHeight: 1.25
        }
        AppText {
            Layout.fillWidth: true
            visible: text !== ""
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WrapAtWordBoundaryOrAnywhere
            maximumLineCount: 6
            text: view.model.localSetupError
            textStyle: TextStyle.Caption
            tone: Tone.Danger
        }
    }
}
