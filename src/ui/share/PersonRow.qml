import QtQuick
import QtQuick.Layouts
import Driftwell

// One person who has access, and as what.
ReadingRow {
    id: row

    required property string email
    required property string person
    required property bool owner

    readonly property bool current: ListView.isCurrentItem

    // The person's role was pressed.
    signal roleAsked(button: Item)

    implicitHeight: 44
    label: person + ", " + (owner ? "Owner" : "Viewer")

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 2
        anchors.rightMargin: 14
        spacing: 10

        AvatarView {
            name: row.email
            seed: row.email
            size: 28
            Accessible.ignored: true
        }
        AppText {
            Layout.fillWidth: true
            elide: Text.ElideMiddle
            text: row.person
            textStyle: TextStyle.BarTitle
            font.weight: Font.Normal
            Accessible.ignored: true
        }
        AppText {
            visible: row.owner
            text: "Owner"
            textStyle: TextStyle.Callout
            tone: Tone.Muted
            Accessible.ignored: true
        }
        MenuButton {
            id: role

            visible: !row.owner
            // Of a long list the keyboard goes through the rows, and from the one it is at to its role.
            focusPolicy: row.current ? Qt.StrongFocus : Qt.ClickFocus
            text: "Viewer"
            Accessible.name: "Viewer, " + row.person
            onClicked: row.roleAsked(role)
        }
    }
}
