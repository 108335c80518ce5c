pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Driftwell

// The page of the team's sites. Only the rows on screen exist.
FocusScope {
    id: view

    required property SiteListModel model

    // Where the window is wide, all that a row offers stands side by side.
    readonly property real actionsWidth: list.width >= 870 ? 306 : 200
    // What a still wider one has to spare belongs to the columns alike.
    readonly property real spare: Math.max(0, Math.floor((list.width - 960) / 3))
    readonly property real updatedWidth: 160 + spare
    readonly property real sharingWidth: 140 + spare

    // To the row that the keyboard was on before, or the first.
    function enterRows(): void {
        if (list.count > 0) {
            list.forceActiveFocus();
            list.go(Math.max(0, list.currentIndex));
        }
    }
    function copyLinkOfCurrent(): void {
        const row = list.currentItem as SiteRow;
        if (row) {
            model.copyLink(row.name);
        }
    }
    // What the keyboard comes to above the rows is scrolled to.
    function reveal(item: Item): void {
        for (let above = item; above; above = above.parent) {
            if (above === header && item.mapToItem(view, 0, 0).y < 0) {
                list.toBeginning();
            }
        }
    }
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
    Window.onActiveFocusItemChanged: reveal(view.Window.activeFocusItem)

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
            updatedWidth: view.updatedWidth
            sharingWidth: view.sharingWidth
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

        function toBeginning(): void {
            contentY = originY - topMargin;
        }
        // What the keyboard has come to is in sight at once, however fast a key that is held goes on.
        function go(row: int): void {
            currentIndex = row;
            if (row === 0) {
                toBeginning();
            } else {
                positionViewAtIndex(row, ListView.Contain);
            }
            if (row === count - 1) {
                contentY = Math.max(originY - topMargin, originY + contentHeight + bottomMargin - height);
            }
        }

        anchors.fill: parent
        anchors.leftMargin: 20
        anchors.rightMargin: 20
        topMargin: header.height
        bottomMargin: footer.height
        model: view.model.sites
        reuseItems: true
        boundsBehavior: Flickable.StopAtBounds
        keyNavigationEnabled: false
        highlightFollowsCurrentItem: false
        focus: true
        activeFocusOnTab: count > 0 || activeFocus
        currentIndex: -1
        cacheBuffer: 0
        Accessible.role: Accessible.List
        Accessible.name: "Projects"
        onContentYChanged: scrolled.update()
        onCountChanged: scrolled.update()
        // The height of the header comes late, and changes; at the beginning stays at the beginning.
        onTopMarginChanged: {
            if (contentY <= originY - headerHeight) {
                contentY = originY - topMargin;
            }
            headerHeight = topMargin;
        }
        // Who comes back comes to the row, and not to one of its buttons.
        onActiveFocusChanged: if (!activeFocus && currentItem) currentItem.focus = true
        // Tab has led here, whose press went to where it was before.
        Keys.onReleased: event => {
            const stop = view.Window.activeFocusItem;
            if ((event.key === Qt.Key_Tab || event.key === Qt.Key_Backtab) && (stop === list || stop === currentItem)) {
                view.enterRows();
            }
        }
        Keys.onReturnPressed: view.openCurrent()
        Keys.onEnterPressed: view.openCurrent()
        Keys.onMenuPressed: view.showMenuOfCurrent()
        Keys.onPressed: event => {
            const row = keys.rowFor(event.key, event.modifiers, event.text, currentIndex);
            event.accepted = true;
            if (row >= 0) {
                go(row);
            } else if (event.key === Qt.Key_F10 && event.modifiers === Qt.ShiftModifier) {
                view.showMenuOfCurrent();
            } else if (event.matches(StandardKey.Copy)) {
                view.copyLinkOfCurrent();
            } else {
                event.accepted = false;
            }
        }

        ScrollBar.vertical: ListBar {}
        delegate: SiteRow {
            width: list.width
            model: view.model
            menu: siteMenu
            page: view
            actionsWidth: view.actionsWidth
            updatedWidth: view.updatedWidth
            sharingWidth: view.sharingWidth
        }

        RowOrder {
            rows: list.contentItem
        }
        RowKeys {
            id: keys

            model: view.model.sites
            page: list.height / 56 - 1
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
        // Below many rows it is no stop: the keyboard would be where nobody sees it.
        focusPolicy: y + height / 2 < view.height ? Qt.StrongFocus : Qt.NoFocus
    }
    DirtyArea {
        id: scrolled

        anchors.fill: list
        z: 2
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
