import QtQuick
import QtQuick.Layouts
import Driftwell

// Something to set up: what it is, and how it stands.
RowLayout {
    id: row

    required property string symbol
    required property string title
    required property string detail
    default property alias trailing: place.data

    spacing: 14
    Accessible.role: Accessible.Grouping
    Accessible.name: title

    Rectangle {
        Layout.alignment: Qt.AlignTop
        implicitWidth: 36
        implicitHeight: 36
        radius: 10
        color: DW.accentTint

        Symbol {
            anchors.centerIn: parent
            name: row.symbol
            size: 17
            tone: Tone.Accent
        }
    }
    ColumnLayout {
        Layout.fillWidth: true
        spacing: 2

        AppText {
            Layout.fillWidth: true
            text: row.title
            font.weight: Font.DemiBold
        }
        AppText {
            Layout.fillWidth: true
            text: row.detail
            textStyle: TextStyle.Note
            tone: Tone.Muted
            wrapMode: Text.Wrap
            lineHeight: 1.2
        }
    }
    ColumnLayout {
        id: place

        Layout.alignment: Qt.AlignVCenter
        Layout.maximumWidth: 210
        spacing: 6
    }
}
