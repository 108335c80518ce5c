import QtQuick
import Driftwell

// What can be done with a site, at its row.
ChoiceMenu {
    id: menu

    required property SiteListModel model
    property string site
    // Where the site's row stood on the page when the menu was opened.
    property rect place
    property bool folderKnown: false
    property bool updateKnown: false
    property bool previousKnown: false

    function openFor(name: string, rowPlace: rect): void {
        site = name;
        place = rowPlace;
        folderKnown = model.hasFolder(name);
        updateKnown = folderKnown && model.canUpdateFolder(name);
        previousKnown = model.canRollBack(name);
    }

    MenuEntry {
        text: "Open in Browser"
        onTriggered: menu.model.open(menu.site)
    }
    MenuEntry {
        text: "Copy Link"
        onTriggered: menu.model.copyLink(menu.site)
    }
    MenuEntry {
        visible: menu.folderKnown && !menu.model.paused
        enabled: menu.folderKnown && !menu.model.paused
        height: implicitHeight
        text: "Publish Again"
        onTriggered: menu.model.publishAgain(menu.site)
    }
    MenuDivider {
        visible: menu.folderKnown
    }
    MenuEntry {
        visible: menu.folderKnown
        // The keyboard would reach what is only hidden.
        enabled: menu.folderKnown
        height: implicitHeight
        text: Wording.here("Reveal Folder in Finder")
        onTriggered: menu.model.revealFolder(menu.site)
    }
    MenuEntry {
        visible: menu.updateKnown
        enabled: menu.updateKnown
        height: implicitHeight
        text: "Update Folder"
        onTriggered: menu.model.updateFolder(menu.site)
    }
    MenuDivider {}
    MenuEntry {
        text: "Version History"
        onTriggered: menu.model.showHistory(menu.site)
    }
    MenuEntry {
        text: "Logs"
        onTriggered: menu.model.showLogs(menu.site)
    }
    MenuDivider {}
    MenuEntry {
        text: "Roll Back…"
        enabled: menu.previousKnown
        onTriggered: menu.model.askToRollBack(menu.site)
    }
    MenuEntry {
        text: "Delete Project…"
        destructive: true
        onTriggered: menu.model.askToDelete(menu.site)
    }
}
