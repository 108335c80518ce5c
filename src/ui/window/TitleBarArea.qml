import QtQuick
import Driftwell

// Where a window is taken by its bar: dragged, it moves.
MouseArea {
    id: area

    required property WindowControls window

    property point pressedAt
    property bool moves: false

    Accessible.ignored: true

    onPressed: mouse => {
        pressedAt = Qt.point(mouse.x, mouse.y);
        moves = false;
    }
    // From there on the window manager has the pointer, and no release arrives. A drag is begun once for a press.
    onPositionChanged: mouse => {
        const far = Math.max(Math.abs(mouse.x - pressedAt.x), Math.abs(mouse.y - pressedAt.y));
        if (!moves && far > Qt.styleHints.startDragDistance) {
            moves = true;
            window.startMove();
        }
    }
}
