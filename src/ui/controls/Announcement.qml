import QtQuick

// Said to who cannot see the screen as soon as it has a text, and again with every other text. Nothing of it is drawn.
Item {
    id: announcement

    required property string text

    // A screen reader speaks a notification that comes into sight.
    function say(): void {
        visible = false;
        Accessible.name = text;
        visible = text !== "";
    }

    width: 1
    height: 1
    visible: false
    Accessible.role: Accessible.Notification
    onTextChanged: say()
    Component.onCompleted: say()
}
