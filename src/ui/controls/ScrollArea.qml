import QtQuick
import QtQuick.Controls.Basic
import Driftwell

// What may be higher than its place, and is scrolled then. What has the keyboard is never out of sight.
Flickable {
    id: area

    function holds(item: Item): bool {
        for (let above = item; above; above = above.parent) {
            if (above === area.contentItem)
                return true;
        }
        return false;
    }

    function reveal(item: Item): void {
        if (!interactive || !holds(item))
            return;
        const room = 24;
        const top = item.mapToItem(contentItem, 0, 0).y;
        const bottom = top + item.height;
        if (top - room < contentY)
            contentY = Math.max(0, top - room);
        else if (bottom + room > contentY + height)
            contentY = Math.min(contentHeight - height, bottom + room - height);
    }

    interactive: contentHeight > height
    boundsBehavior: Flickable.StopAtBounds
    // Rings around what has the keyboard reach beyond the content.
    clip: interactive
    Window.onActiveFocusItemChanged: reveal(area.Window.activeFocusItem)

    ScrollBar.vertical: ListBar {}
}
