import QtQuick
import Driftwell

// The head of a column by which the table can be sorted.
Pressable {
    id: button

    required property bool active

    implicitHeight: 26
    implicitWidth: implicitContentWidth + 4
    details: active ? "Current order" : ""
    ringRadius: 7
    Accessible.name: "Sort by " + text

    contentItem: Row {
        spacing: 4

        AppText {
            anchors.verticalCenter: parent.verticalCenter
            text: button.text
            textStyle: TextStyle.Note
            font.weight: Font.Medium
            tone: button.active || button.hovered ? Tone.Primary : Tone.Muted
            Accessible.ignored: true
        }
        Symbol {
            anchors.verticalCenter: parent.verticalCenter
            opacity: button.active ? 1 : 0
            name: "arrow.up"
            size: 9
        }
    }
}
