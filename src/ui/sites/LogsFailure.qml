import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Driftwell

// Stands in the place of what could not be loaded, and says why.
ColumnLayout {
    id: failure

    required property string error

    spacing: 6

    Item {
        Layout.fillHeight: true
    }
    Symbol {
        Layout.alignment: Qt.AlignHCenter
        name: "exclamationmark.triangle"
        size: 24
        tone: Tone.Muted
    }
    AppText {
        Layout.fillWidth: true
        horizontalAlignment: Text.AlignHCenter
        text: "Couldn’t load logs"
        textStyle: TextStyle.ScreenTitle
        Accessible.role: Accessible.Heading
    }
    Flickable {
        Layout.fillWidth: true
        Layout.maximumHeight: 120
        Layout.preferredHeight: message.implicitHeight
        contentHeight: message.implicitHeight
        boundsBehavior: Flickable.StopAtBounds
        clip: true

        ScrollBar.vertical: ListBar {}

        AppText {
            id: message

            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WrapAtWordBoundaryOrAnywhere
            text: failure.error
            textStyle: TextStyle.Callout
            tone: Tone.Muted
        }
    }
    Item {
        Layout.fillHeight: true
    }
}
