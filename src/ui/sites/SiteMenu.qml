import QtQuick
import QtQuick.Controls.Basic
import Driftwell

// What can be done with a site, at its row.
Menu {
    id: menu

    required property SiteListModel model
    property string site
    property bool folderKnown: false

    function openFor(name: string): void {
        site = name;
        folderKnown = model.hasFolder(name);
    }

    padding: 4
    width: 208

    background: Rectangle {
        color: DW.card
        radius: 9
        border.color: DW.borderStrong
    }

    MenuEntry {
        text: "Open in Browser"
        onTriggered: menu.model.open(menu.site)
    }
    MenuEntry {
        text: "Copy Link"
        onTriggered: menu.model.copyLink(menu.site)
    }
    MenuSeparator {
        visible: menu.folderKnown
        height: visible ? implicitHeight : 0
        contentItem: Rectangle {
            implicitHeight: 1
            color: DW.rowDivider
        }
    }
    MenuEntry {
        visible: menu.folderKnown
        height: implicitHeight
        text: Wording.here("Reveal Folder in Finder")
        onTriggered: menu.model.revealFolder(menu.site)
    }
}
