import QtQuick
import QtQuick.Layouts
import Driftwell

RowLayout {
    id: header

    required property SiteListModel model

    spacing: 0

    Item {
        Layout.fillWidth: true
        Layout.leftMargin: 14
        implicitHeight: byName.implicitHeight

        SortButton {
            id: byName

            text: "Name"
            active: header.model.sortedByName
            onClicked: header.model.sortByName()
        }
    }
    Item {
        Layout.preferredWidth: 160
        implicitHeight: byTime.implicitHeight

        SortButton {
            id: byTime

            text: "Last updated"
            active: !header.model.sortedByName
            onClicked: header.model.sortByTime()
        }
    }
    AppText {
        Layout.preferredWidth: 140
        text: "Sharing"
        size: 12
        font.weight: Font.Medium
        color: DW.textSecondary
    }
    Item {
        Layout.preferredWidth: 200
    }
}
