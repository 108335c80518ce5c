import QtQuick
import QtQuick.Controls.Basic
import Driftwell

// Rows that are read and not chosen. The keyboard goes through them, so that they can be scrolled and heard without a
// pointer.
ListView {
    id: list

    required property string label

    clip: true
    boundsBehavior: Flickable.StopAtBounds
    keyNavigationEnabled: true
    activeFocusOnTab: count > 0
    currentIndex: -1
    // What the keyboard has come to is in sight at once, however long the list is.
    highlightMoveDuration: 0
    Accessible.role: Accessible.List
    Accessible.name: label
    onActiveFocusChanged: if (activeFocus && currentIndex < 0 && count > 0) currentIndex = 0

    ScrollBar.vertical: ScrollBar {}
}
