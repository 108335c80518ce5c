import QtQuick
import QtQuick.Layouts
import Driftwell

PanelRow {
    id: button

    required property string symbol
    property string shortcut: ""

    implicitHeight: 30

    contentItem: RowLayout {
        spacing: 8

        Symbol {
            name: button.symbol
            size: 11.5
            tone: Tone.Muted
        }
        AppText {
            Layout.fillWidth: true
            text: button.text
            textStyle: TextStyle.Callout
            Accessible.ignored: true
        }
        AppText {
            text: button.shortcut
            textStyle: TextStyle.Hint
            tone: Tone.Faint
            Accessible.ignored: true
        }
    }
}
