import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Driftwell

ColumnLayout {
    id: phase

    required property DeploySheetModel model

    spacing: 12
    Component.onCompleted: again.forceActiveFocus(Qt.OtherFocusReason)

    RowLayout {
        spacing: 7

        Symbol {
            name: "exclamationmark.triangle.fill"
            size: 15
            tone: Tone.Danger
        }
        AppText {
            Layout.fillWidth: true
            text: "Deploy failed"
            textStyle: TextStyle.SheetTitle
            Accessible.role: Accessible.Heading
        }
    }
    Flickable {
        Layout.fillWidth: true
        implicitHeight: Math.min(message.implicitHeight, 240)
        contentHeight: message.implicitHeight
        boundsBehavior: Flickable.StopAtBounds
        clip: true

        ScrollBar.vertical: ListBar {}

        AppText {
            id: message

            width: parent.width
            wrapMode: Text.WrapAtWordBoundaryOrAnywhere
            text: phase.model.failure
            textStyle: TextStyle.Callout
            tone: Tone.Muted
        }
    }
    RowLayout {
        Layout.alignment: Qt.AlignRight
        spacing: 8

        PushButton {
            text: "Close"
            onClicked: phase.model.close()
        }
        PushButton {
            id: again

            text: "Try again"
            prominent: true
            onClicked: phase.model.retry()
        }
    }
}
