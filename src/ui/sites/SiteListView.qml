pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Driftwell

// The page of the team's sites. Only the rows on screen exist.
Item {
    id: view

    required property SiteListModel model

    // Where the window is wide, all that a row offers stands side by side.
    readonly property real actionsWidth: list.width >= 870 ? 306 : 200

    function openCurrent(): void {
        const row = list.currentItem as SiteRow;
        if (row) {
            model.open(row.name);
        }
    }
    function showMenuOfCurrent(): void {
        const row = list.currentItem as SiteRow;
        if (row) {
            row.showMenu(Qt.point(row.width - 220, row.height - 6));
        }
    }

    clip: true

    Card {
        // Behind the rows: as high as they are, and never beyond the page.
        visible: list.count > 0
        x: list.x
        y: Math.max(0, header.y + header.height)
        width: list.width
        height: Math.min(footer.y, view.height) - y
    }
    // Header and footer scroll with the rows, in the margins that the list leaves for them.
    Column {
        id: header

        x: list.x
        y: list.originY - list.contentY - height
        z: 1
        width: list.width
        topPadding: 20
        spacing: 16

        PageHeader {
            width: header.width
            model: view.model
        }
        TableHeader {
            width: header.width
            visible: list.count > 0
            height: implicitHeight + 6
            model: view.model
            actionsWidth: view.actionsWidth
        }
        AppText {
            width: header.width
            visible: text !== ""
            bottomPadding: 12
            text: view.model.nothingMatches
            wrapMode: Text.WrapAnywhere
            maximumLineCount: 3
            tone: Tone.Muted
        }
    }
    ListView {
        id: list

        property real headerHeight: 0

        anchors.fill: parent
        anchors.leftMargin: 20
        anchors.rightMargin: 20
        topMargin: header.height
        bottomMargin: footer.height
        model: view.model.sites
        reuseItems: true
        boundsBehavior: Flickable.StopAtBounds
        keyNavigationEnabled: true
        activeFocusOnTab: count > 0
        currentIndex: -1
        cacheBuffer: 400
        Accessible.role: Accessible.List
        Accessible.name: "Projects"
        // The height of the header comes late, and changes; at the beginning stays at the beginning.
        onTopMarginChanged: {
            if (contentY <= originY - headerHeight) {
                contentY = originY - topMargin;
            }
            headerHeight = topMargin;
        }
        onActiveFocusChanged: if (activeFocus && currentIndex < 0) currentIndex = 0
        Keys.onReturnPressed: view.openCurrent()
        Keys.onEnterPressed: view.openCurrent()
        Keys.onMenuPressed: view.showMenuOfCurrent()
        Keys.onPressed: event => {
            if (event.key === Qt.Key_F10 && event.modifiers === Qt.ShiftModifier) {
                view.showMenuOfCurrent();
                event.accepted = true;
            }
        }

        ScrollBar.vertical: ScrollBar {}
        delegate: SiteRow {
            width: list.width
            model: view.model
            menu: siteMenu
            page: view
            actionsWidth: view.actionsWidth
        }
    }
    DropHint {
        id: footer

        x: list.x
        y: header.y + header.height + list.contentHeight
        z: 1
        width: list.width
        height: 64
        model: view.model
    }
    SiteMenu {
        id: siteMenu

        model: view.model
    }
    SheetHost {
        anchors.fill: parent

        SheetEntry {
            target: view.model.logs

            LogsPopover {
                place: siteMenu.place
            }
        }
    }
}
