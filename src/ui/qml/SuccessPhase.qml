import QtQuick
import QtQuick.Controls.Basic
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
        size: 34
        color: DW.accent

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
        size: 17
        font.weight: Font.Bold
        Accessible.role: Accessible.Heading
    }
    AbstractButton {
        id: link

        Layout.alignment: Qt.AlignHCenter
        Layout.maximumWidth: phase.width
        text: phase.model.liveAddress
        hoverEnabled: true
        Accessible.name: text
        Keys.onReturnPressed: clicked()
        Keys.onEnterPressed: clicked()
        onClicked: phase.model.openLiveSite()

        contentItem: RowLayout {
            spacing: 4

            AppText {
                Layout.fillWidth: true
                text: link.text
                color: DW.accent
                font.underline: link.hovered
                elide: Text.ElideMiddle
                Accessible.ignored: true
            }
            Symbol {
                name: "arrow.up.right"
                size: 13
                color: DW.accent
            }
        }
        HoverHandler {
            cursorShape: Qt.PointingHandCursor
        }
        FocusRing {
            shown: link.visualFocus
            radius: 6
        }
        Tip {
            text: "Open " + phase.model.liveUrl
            visible: link.hovered
        }
    }
    AppText {
        Layout.fillWidth: true
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        text: phase.model.summary
        size: 11.5
        color: DW.textSecondary
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
