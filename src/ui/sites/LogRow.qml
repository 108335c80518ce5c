import QtQuick
import QtQuick.Layouts
import Driftwell

// One line of a log: when, from where, by whom, and what.
ReadingRow {
    id: row

    required property string time
    required property int kind
    required property string kindText
    required property string user
    required property string detail

    implicitHeight: columns.implicitHeight + 14
    label: time + ", " + kindText + ", " + user + ", " + detail

    RowLayout {
        id: columns

        anchors { left: parent.left; right: parent.right; verticalCenter: parent.verticalCenter }
        anchors.leftMargin: 12
        anchors.rightMargin: 12
        spacing: 6

        CuttableText {
            Layout.preferredWidth: 118
            Layout.alignment: Qt.AlignTop
            text: row.time
            textStyle: TextStyle.Caption
            tone: Tone.Muted
            Accessible.ignored: true
        }
        AppText {
            Layout.preferredWidth: 44
            Layout.alignment: Qt.AlignTop
            text: row.kindText
            textStyle: TextStyle.Caption
            font.weight: Font.DemiBold
            color: row.kind === LogsModel.Ws ? DW.cyan(DW.dark)
                                             : DW.toneColor(row.kind === LogsModel.Deploy ? Tone.Accent : Tone.Muted, DW.dark)
            Accessible.ignored: true
        }
        CuttableText {
            Layout.preferredWidth: 90
            Layout.alignment: Qt.AlignTop
            text: row.user
            textStyle: TextStyle.Caption
            Accessible.ignored: true
        }
        AppText {
            Layout.fillWidth: true
            Layout.alignment: Qt.AlignTop
            wrapMode: Text.WrapAtWordBoundaryOrAnywhere
            maximumLineCount: 6
            text: row.detail
            textStyle: TextStyle.Caption
            Accessible.ignored: true
        }
    }
}
