import QtQuick
import QtQuick.Layouts
import Driftwell

ColumnLayout {
    id: phase

    required property DeploySheetModel model
    property bool appeared: false

    spacing: 10
    Component.onCompleted: {
        appeared = true;
        done.forceActiveFocus(Qt.OtherFocusReason);
    }

    Symbol {
        id: mark

        Layout.alignment: Qt.AlignHCenter
        name: "checkmark.circle.fill"
        size: 30
        tone: Tone.Accent

        SequentialAnimation {
            running: phase.appeared

            NumberAnimation { target: mark; property: "scale"; from: 0.7; to: 1.18; duration: 160; easing.type: Easing.OutQuad }
            NumberAnimation { target: mark; property: "scale"; to: 1; duration: 180; easing.type: Easing.OutBack }
        }
    }
    AppText {
        Layout.fillWidth: true
        horizontalAlignment: Text.AlignHCenter
        elide: Text.ElideMiddle
        text: phase.model.liveSite + " is live"
        textStyle: TextStyle.Headline
        Accessible.role: Accessible.Heading
    }
    LinkButton {
        Layout.alignment: Qt.AlignHCenter
        Layout.maximumWidth: phase.width
        text: phase.model.liveAddress
        tip: "Open " + phase.model.liveUrl
        onClicked: phase.model.openLiveSite()
    }
    AppText {
        Layout.fillWidth: true
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        text: phase.model.summary
        textStyle: TextStyle.Detail
        tone: Tone.Muted
    }
    RowLayout {
        // A layout in a layout would take the whole width, and its words would begin at the edge.
        Layout.fillWidth: false
        Layout.alignment: Qt.AlignHCenter
        Layout.maximumWidth: phase.width
        visible: phase.model.skillsWritten
        spacing: 6

        Symbol {
            Layout.alignment: Qt.AlignTop
            name: "sparkles"
            size: 11
            tone: Tone.Muted
        }
        AppText {
            Layout.fillWidth: true
            wrapMode: Text.Wrap
            text: "Agent skills added to the folder (skills/, CLAUDE.md)"
            textStyle: TextStyle.Detail
            tone: Tone.Muted
        }
    }
    LeftOut {
        Layout.fillWidth: true
        text: phase.model.unreadable
    }
    RowLayout {
        Layout.topMargin: 8
        Layout.alignment: Qt.AlignHCenter
        spacing: 8

        PushButton {
            text: phase.model.copied ? "Copied" : "Copy URL"
            onClicked: phase.model.copyUrl()
        }
        PushButton {
            id: done

            text: "Done"
            prominent: true
            onClicked: phase.model.close()
        }
    }
    Shortcut {
        sequences: ["Ctrl+C"]
        onActivated: phase.model.copyUrl()
    }
}
