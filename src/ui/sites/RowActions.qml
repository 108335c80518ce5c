import QtQuick
import Driftwell

// What can be done with the site of a row.
Item {
    id: actions

    required property SiteRow row

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
        Accessible.name: text + " " + actions.row.name
        onClicked: {
            if (visualFocus)
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
            Accessible.name: "Open " + actions.row.name
            onClicked: actions.row.model.open(actions.row.name)
        }
        RowButton {
            text: "Share"
            symbol: "person.badge.plus"
            prominent: true
            Accessible.name: "Share " + actions.row.name
            onClicked: {
                if (visualFocus)
                    actions.row.takeKeyboard();
                actions.row.model.share(actions.row.name);
            }
        }
        IconButton {
            symbol: "ellipsis"
            label: "More for " + actions.row.name
            tip: ""
            onClicked: actions.row.showMenu(Qt.point(actions.row.width - 220, actions.row.height - 6))
        }
    }
}
