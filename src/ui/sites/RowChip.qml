import QtQuick
import Driftwell

// The chip of a row. Where something is wrong with the folder, it shows what.
Item {
    id: place

    required property SiteRow row

    implicitWidth: chip.implicitWidth
    implicitHeight: chip.implicitHeight

    CollabChip {
        id: chip

        text: place.row.collabLabel
        warns: place.row.collabWarns
        Accessible.role: Accessible.StaticText
        Accessible.name: text
        Accessible.ignored: warns
    }
    Pressable {
        anchors.fill: parent
        visible: place.row.collabWarns
        // The keyboard has the row's button for it.
        focusPolicy: Qt.NoFocus
        Accessible.name: place.row.collabLabel + ", " + place.row.name
        onClicked: place.row.model.showFolderState(place.row.name)
    }
}
