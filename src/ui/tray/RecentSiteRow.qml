import QtQuick
import QtQuick.Layouts
import Driftwell

PanelRow {
    id: row

    required property string name
    required property string age
    required property bool deploying

    implicitHeight: 28
    text: name
    details: deploying ? "deploying…" : age

    contentItem: RowLayout {
        spacing: 6

        AppText {
            Layout.fillWidth: true
            text: row.name
            textStyle: TextStyle.Callout
            elide: Text.ElideMiddle
            Accessible.ignored: true
        }
        AppText {
            text: row.details
            monospaced: !row.deploying
            textStyle: TextStyle.Detail
            tone: row.deploying ? Tone.Accent : Tone.Muted
            Accessible.ignored: true
        }
        Symbol {
            visible: row.hovered && !row.deploying
            name: "arrow.up.right"
            size: 9.5
            tone: Tone.Muted
        }
    }
}
