import QtQuick
import Driftwell

// The chip of a row. Where something is wrong with the folder, it shows what.
Pressable {
    id: place

    required property SiteRow row

    // The keyboard has the row's button for it.
    focusPolicy: Qt.NoFocus
    text: row.collabLabel
    Accessible.role: row.collabWarns ? Accessible.Button : Accessible.StaticText
    Accessible.name: row.collabWarns ? text + ", " + row.name : text
    onClicked: row.model.showFolderState(row.name)

    contentItem: CollabChip {
        text: place.text
        warns: place.row.collabWarns
    }
}
