import QtQuick
import QtQuick.Layouts
import Driftwell

// A setting that is on or off: what it is called, what it does, and the switch.
RowLayout {
    id: row

    required property string symbol
    required property string title
    required property string description
    required property bool on
    // A change of it is under way.
    required property bool busy

    signal switched(on: bool)

    spacing: 10

    Symbol {
        Layout.preferredWidth: 20
        Layout.alignment: Qt.AlignTop
        Layout.topMargin: 1
        name: row.symbol
        size: 14
        tone: Tone.Muted
    }
    ColumnLayout {
        spacing: 2

        AppText {
            Layout.fillWidth: true
            wrapMode: Text.WrapAtWordBoundaryOrAnywhere
            maximumLineCount: 3
            text: row.title
            textStyle: TextStyle.BarTitle
            font.weight: Font.Normal
            Accessible.ignored: true
        }
        AppText {
            Layout.fillWidth: true
            visible: text !== ""
            wrapMode: Text.WrapAtWordBoundaryOrAnywhere
            maximumLineCount: 4
            text: row.description
            textStyle: TextStyle.Callout
            tone: Tone.Muted
            Accessible.ignored: true
        }
    }
    DWToggleStyle {
        id: toggle

        Layout.preferredWidth: 38
        Layout.preferredHeight: 22
        // Beside the title. A layout does not centre anew what stands beside a text that has got other lines.
        Layout.alignment: Qt.AlignTop
        Layout.topMargin: 6
        checked: row.on
        enabled: !row.busy
        opacity: enabled ? 1 : 0.6
        Accessible.name: row.title
        Accessible.description: row.description
        onToggled: {
            row.switched(checked);
            // It shows what the platform has, and moves when that does.
            checked = Qt.binding(() => row.on);
        }
    }
}
