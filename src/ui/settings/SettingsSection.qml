import QtQuick
import QtQuick.Layouts
import Driftwell

// A group of settings: a heading, the rows on a card, and what is to be said of them.
ColumnLayout {
    id: section

    property string title: ""
    property string footer: ""
    default property alias rows: body.data

    spacing: 6
    Accessible.role: Accessible.Grouping
    Accessible.name: title

    AppText {
        Layout.fillWidth: true
        Layout.leftMargin: 4
        visible: text !== ""
        text: section.title
        font.weight: Font.DemiBold
        Accessible.role: Accessible.Heading
    }
    Card {
        Layout.fillWidth: true
        implicitHeight: body.implicitHeight + 24

        ColumnLayout {
            id: body

            anchors { left: parent.left; right: parent.right; top: parent.top; margins: 12 }
            spacing: 8
        }
    }
    CodeText {
        Layout.fillWidth: true
        Layout.leftMargin: 4
        Layout.rightMargin: 4
        visible: source !== ""
        source: section.footer
        textStyle: TextStyle.Caption
        tone: Tone.Muted
        lineHeight: 1.2
    }
}
