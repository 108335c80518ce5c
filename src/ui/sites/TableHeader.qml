import QtQuick
import QtQuick.Layouts
import Driftwell

RowLayout {
    id: header

    required property SiteListModel model
    required property real actionsWidth
    required property real updatedWidth
    required property real sharingWidth

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
        Layout.preferredWidth: header.updatedWidth
        implicitHeight: byTime.implicitHeight

        SortButton {
            id: byTime

            text: "Last updated"
            active: !header.model.sortedByName
            onClicked: header.model.sortByTime()
        }
    }
    Item {
        Layout.preferredWidth: header.sharingWidth
        implicitHeight: byName.implicitHeight

        AppText {
            anchors.verticalCenter: parent.verticalCenter
            text: "Sharing"
            textStyle: TextStyle.Note
            font.weight: Font.Medium
            tone: Tone.Muted
        }
    }
    Item {
        Layout.preferredWidth: header.actionsWidth
    }
}
