import QtQuick
import QtQuick.Controls.Basic
import Driftwell

// Rows that are read and not chosen. The keyboard goes through them, so that they can be scrolled and heard without a
// pointer. While rows go, those that stay keep their place on screen.
ListView {
    id: list

    required property string label

    // What is read while rows go, and how far below the upper edge it stands.
    property Item anchorRow: null
    property real anchorOffset: 0

    function isInSight(row: Item): bool {
        if (!row)
            return false;
        const top = row.y - contentY;
        return top + row.height > 0 && top < height;
    }

    function keepPlace(): void {
        if (restoring.running)
            return;
        anchorRow = isInSight(currentItem) ? currentItem : itemAtIndex(indexAt(1, contentY + 1));
        if (!anchorRow)
            return;
        anchorOffset = anchorRow.y - contentY;
        restoring.start();
    }

    function restorePlace(): void {
        forceLayout();
        if (anchorRow) {
            const last = Math.max(originY, originY + contentHeight - height);
            contentY = Math.max(originY, Math.min(anchorRow.y - anchorOffset, last));
        }
        anchorRow = null;
    }

    clip: true
    boundsBehavior: Flickable.StopAtBounds
    keyNavigationEnabled: true
    activeFocusOnTab: count > 0
    currentIndex: -1
    // What the keyboard has come to is in sight at once, however long the list is. Left to itself, the view would follow
    // a current row that has only got another number.
    highlightFollowsCurrentItem: false
    onCurrentIndexChanged: if (currentIndex >= 0 && !restoring.running) positionViewAtIndex(currentIndex, ListView.Contain)
    Accessible.role: Accessible.List
    Accessible.name: label
    onActiveFocusChanged: if (activeFocus && currentIndex < 0 && count > 0) currentIndex = 0

    ScrollBar.vertical: ListBar {}

    // After the list has taken the change.
    Timer {
        id: restoring

        interval: 0
        onTriggered: list.restorePlace()
    }
    Connections {
        target: list.model

        function onRowsAboutToBeRemoved(): void {
            list.keepPlace();
        }
    }
}
