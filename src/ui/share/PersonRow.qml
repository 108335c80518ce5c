import QtQuick
import QtQuick.Layouts
import Driftwell

// One person who has access, and as what.
ReadingRow {
    id: row

    required property string email
    required property string person
    required property bool owner

    // The person's role was pressed.
    signal roleAsked(button: Item)

    function askForRole(): void {
        if (!owner)
            roleAsked(role);
    }

    implicitHeight: 44
    label: person + ", " + (owner ? "Owner" : "Viewer")
    Accessible.description: owner ? "" : "Return opens the role"

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
        CuttableText {
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
            // The keyboard has the row for it: Tab would go through all of a long list.
            focusPolicy: Qt.NoFocus
            text: "Viewer"
            Accessible.name: "Viewer, " + row.person
            onClicked: row.askForRole()
        }
    }
}
