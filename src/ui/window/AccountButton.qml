import QtQuick
import Driftwell

// Who is signed in; pressed, it opens what can be done about that.
Pressable {
    id: button

    required property ToolbarModel model
    readonly property AccountMenu menu: place.item as AccountMenu

    padding: 0
    // The open menu says it too, where the tip would cover it.
    tip: menu?.visible ? "" : model.personTip
    details: model.personTip
    ringDistance: 2
    ringRadius: 16
    Accessible.name: "Account"
    onClicked: {
        if (place.status === Loader.Null)
            place.setSource("AccountMenu.qml", {model: model});
        menu.popup(button, button.width - menu.width, button.height + 6);
    }

    contentItem: AvatarView {
        name: button.model.personName
        seed: button.model.personEmail
        size: 28

        Rectangle {
            anchors.fill: parent
            radius: width / 2
            color: "white"
            opacity: button.down ? 0.25 : button.hovered ? 0.14 : 0
        }
    }

    // Most never open it.
    Loader {
        id: place
    }
}
