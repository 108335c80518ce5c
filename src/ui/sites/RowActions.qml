import QtQuick
import Driftwell

// What can be done with the site of a row.
Item {
    id: actions

    required property SiteRow row
    // The buttons of a row that the pointer rests on are no stop for the keyboard, which is elsewhere.
    readonly property int policy: row.current ? Qt.StrongFocus : Qt.NoFocus

    RowButton {
        id: settle

        // Where the buttons have no room for it, it stands in the place of the chip that says the same.
        readonly property real beside: buttons.x - width - buttons.spacing

        x: actions.row.roomy ? beside : actions.row.updatedX
        anchors.verticalCenter: parent.verticalCenter
        visible: text !== "" && (actions.row.roomy || !actions.row.busy)
        enabled: !actions.row.busy
        opacity: enabled ? 1 : 0.45
        text: actions.row.collabAction
        focusPolicy: actions.policy
        Accessible.name: text + " " + actions.row.name
        onClicked: {
            actions.row.takeKeyboard();
            actions.row.model.settleFolder(actions.row.name);
        }
    }
    Row {
        id: buttons

        anchors.verticalCenter: parent.verticalCenter
        anchors.right: parent.right
        spacing: 6

        RowButton {
            text: "Open"
            focusPolicy: actions.policy
            Accessible.name: "Open " + actions.row.name
            onClicked: actions.row.model.open(actions.row.name)
        }
        RowButton {
            text: "Share"
            symbol: "person.badge.plus"
            prominent: true
            focusPolicy: actions.policy
            Accessible.name: "Share " + actions.row.name
            onClicked: {
                actions.row.takeKeyboard();
                actions.row.model.share(actions.row.name);
            }
        }
        IconButton {
            symbol: "ellipsis"
            label: "More for " + actions.row.name
            tip: ""
            focusPolicy: actions.policy
            onClicked: actions.row.showMenu(Qt.point(actions.row.width - 220, actions.row.height - 6))
        }
    }
}
