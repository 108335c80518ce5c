import QtQuick
import QtQuick.Layouts
import Driftwell

// Offers to tie the folder that the site was published from to the site's history.
RowLayout {
    id: row

    required property string title
    required property bool busy

    readonly property string description: "Deploys from this folder will merge with teammates’ changes instead of replacing them"

    signal linked

    spacing: 10

    Symbol {
        Layout.preferredWidth: 20
        Layout.alignment: Qt.AlignTop
        Layout.topMargin: 1
        name: "link"
        size: 14
        tone: Tone.Muted
    }
    ColumnLayout {
        spacing: 2

        AppText {
            Layout.fillWidth: true
            wrapMode: Text.WrapAtWordBoundaryOrAnywhere
            maximumLineCount: 4
            text: row.title
            textStyle: TextStyle.BarTitle
            font.weight: Font.Normal
        }
        AppText {
            Layout.fillWidth: true
            wrapMode: Text.Wrap
            text: row.description
            textStyle: TextStyle.Callout
            tone: Tone.Muted
            Accessible.ignored: true
        }
    }
    PushButton {
        Layout.alignment: Qt.AlignTop
        Layout.topMargin: 2
        text: "Link"
        enabled: !row.busy
        details: row.description
        Accessible.name: row.title
        onClicked: row.linked()
    }
}
