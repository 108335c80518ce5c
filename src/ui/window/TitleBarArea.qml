import QtQuick
import Driftwell

// Where a window is taken by its bar: dragged, it moves; the right button opens the menu of the window.
MouseArea {
    id: area

    required property WindowControls window

    property point pressedAt
    property bool moves: false

    function showMenu(at: point): void {
        if (!window.showDesktopMenu(mapToItem(null, at))) {
            if (ownMenu.status === Loader.Null)
                ownMenu.setSource("WindowMenu.qml", {window: window});
            (ownMenu.item as WindowMenu).popup(area, at);
        }
    }

    acceptedButtons: Qt.LeftButton | Qt.RightButton
    Accessible.ignored: true

    onPressed: mouse => {
        pressedAt = Qt.point(mouse.x, mouse.y);
        moves = mouse.button !== Qt.LeftButton;
    }
    // From there on the window manager has the pointer, and no release arrives. A drag is begun once for a press.
    onPositionChanged: mouse => {
        const far = Math.max(Math.abs(mouse.x - pressedAt.x), Math.abs(mouse.y - pressedAt.y));
        if (!moves && far > Qt.styleHints.startDragDistance) {
            moves = true;
            window.startMove();
        }
    }
    // A menu of the desktop takes the pointer, which it can when no button is held any more.
    onClicked: mouse => {
        if (mouse.button === Qt.RightButton)
            showMenu(Qt.point(mouse.x, mouse.y));
    }

    Loader {
        id: ownMenu
    }
}
