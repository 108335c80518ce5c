import QtQuick
import QtQuick.Layouts
import Driftwell

// One version: what made it, when and by whom.
ReadingRow {
    id: row

    required property string word
    required property bool rolledBack
    required property string details
    required property int control

    required property VersionHistoryModel history

    implicitHeight: 52
    label: word + ", " + details

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 2
        anchors.rightMargin: 14
        spacing: 12

        ColumnLayout {
            spacing: 2

            AppText {
                Layout.fillWidth: true
                text: row.word
                font.weight: Font.Medium
                tone: row.rolledBack ? Tone.Warning : Tone.Primary
                Accessible.ignored: true
            }
            CuttableText {
                Layout.fillWidth: true
                text: row.details
                textStyle: TextStyle.Detail
                tone: Tone.Muted
                Accessible.ignored: true
            }
        }
        Rectangle {
            visible: row.control === VersionHistoryModel.Current
            implicitWidth: current.implicitWidth + 16
            implicitHeight: 20
            radius: 10
            color: DW.chip

            AppText {
                id: current

                anchors.centerIn: parent
                text: "Current"
                textStyle: TextStyle.Caption
                tone: Tone.Muted
            }
        }
        RowButton {
            visible: row.control === VersionHistoryModel.RollBack
            enabled: !row.history.rollingBack
            opacity: enabled ? 1 : 0.45
            text: "Roll back"
            onClicked: row.history.requestRollback()
        }
    }
}
