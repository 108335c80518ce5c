import QtQuick

// Said to who cannot see the screen as soon as it has a text, and again with every other text. Nothing of it is drawn.
Item {
    id: announcement

    required property string text
    property bool placed: false

    // It stands in nothing but the window: of a notification a screen reader also tells what is around it, and would read
    // a whole sheet with each.
    function place(): void {
        if (Window.contentItem) {
            parent = Window.contentItem;
            placed = true;
            say();
        }
    }
    // A screen reader speaks a notification that comes into sight.
    function say(): void {
        visible = false;
        Accessible.name = text;
        visible = placed && text !== "";
    }

    width: 1
    height: 1
    visible: false
    Accessible.role: Accessible.Notification
    onTextChanged: say()
    // Later: the window is just coming to all that stands beside it.
    onWindowChanged: arrival.start()

    Timer {
        id: arrival

        interval: 0
        onTriggered: announcement.place()
    }
}
