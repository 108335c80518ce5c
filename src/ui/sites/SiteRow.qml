import QtQuick
import Driftwell

// One site: what it is, since when and by whom, who may open it, and what can be done with it.
Item {
    id: row

    required property int index
    required property string name
    required property string address
    required property bool busy
    required property string updatedText
    required property bool rolledBack
    required property string sharingSymbol
    required property string sharingText
    required property list<string> sharedEmails
    required property int moreEmails
    required property string collabLabel
    required property bool collabWarns
    required property string collabAction

    required property SiteListModel model
    required property SiteMenu menu
    required property Item page
    required property real actionsWidth
    required property real updatedWidth
    required property real sharingWidth
    readonly property bool selected: ListView.isCurrentItem
    readonly property bool current: selected && ListView.view.activeFocus
    readonly property bool hovered: hover.hovered || (menu.visible && menu.site === name)
    readonly property bool actionsShown: hovered || current || actions.activeFocus
    readonly property bool roomy: actionsWidth >= 306
    readonly property bool chipShown: collabLabel !== "" && !busy
    readonly property bool shared: sharingText === ""
    // Where the columns begin. A layout would find out the same again for every row that comes into sight.
    readonly property real namesX: 57
    readonly property real sharingX: width - actionsWidth - sharingWidth
    readonly property real updatedX: sharingX - updatedWidth

    // Before something opens over the list that gives the keyboard back when it goes: the buttons are not there then.
    function takeKeyboard(): void {
        ListView.view.currentIndex = index;
        forceActiveFocus();
    }
    function showMenu(at: point): void {
        menu.openFor(name, row.mapToItem(page, 0, 0, row.width, row.height));
        menu.parent = row;
        menu.popup(row, at);
    }

    implicitHeight: 56
    Accessible.role: Accessible.ListItem
    Accessible.name: name
    Accessible.description: chipShown ? collabLabel : updatedText
    Accessible.focusable: true
    Accessible.selectable: true
    Accessible.selected: selected
    // A row that waits for its next site is not there for a screen reader either.
    ListView.onPooled: visible = false
    ListView.onReused: visible = true
    // Most rows are never pointed at. What has been there once stays, for the keyboard to come back to.
    onActionsShownChanged: if (actionsShown && !actions.item) actions.setSource("RowActions.qml", {row: row})
    onChipShownChanged: if (chipShown && !chip.item) chip.setSource("RowChip.qml", {row: row})
    onBusyChanged: if (busy && !spinner.item) spinner.setSource("Spinner.qml")
    onSharedChanged: if (shared && !people.item) people.setSource("RowPeople.qml", {row: row})
    Component.onCompleted: if (shared && !people.item) people.setSource("RowPeople.qml", {row: row})

    HoverHandler {
        id: hover
    }
    // Below the buttons, which keep their clicks to themselves.
    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.LeftButton | Qt.RightButton
        onPressed: row.takeKeyboard()
        onClicked: mouse => {
            if (mouse.button === Qt.RightButton)
                row.showMenu(Qt.point(mouse.x, mouse.y));
        }
        onDoubleClicked: mouse => {
            if (mouse.button === Qt.LeftButton)
                row.model.open(row.name);
        }
    }
    Rectangle {
        anchors.fill: parent
        anchors.leftMargin: 1
        anchors.rightMargin: 1
        visible: row.selected || row.hovered
        color: row.selected ? DW.accent : DW.textPrimary
        opacity: row.current ? 0.08 : row.selected ? 0.04 : 0.03
    }
    Rectangle {
        anchors.fill: parent
        anchors.margins: 3
        visible: row.current
        radius: 8
        color: "transparent"
        border.color: DW.accent
        border.width: 2
    }
    Rectangle {
        visible: row.index > 0
        anchors { left: parent.left; right: parent.right; leftMargin: 1; rightMargin: 1 }
        height: 1
        color: DW.rowDivider
    }
    Favicon {
        x: 14
        anchors.verticalCenter: parent.verticalCenter
        name: row.name
    }
    Column {
        x: row.namesX
        anchors.verticalCenter: parent.verticalCenter
        spacing: 2

        AppText {
            width: row.updatedX - row.namesX - 12
            text: row.name
            font.weight: Font.Medium
            elide: Text.ElideMiddle
        }
        AppText {
            width: row.updatedX - row.namesX - 12
            text: row.address
            textStyle: TextStyle.Detail
            tone: Tone.Muted
            elide: Text.ElideMiddle
        }
    }
    Loader {
        id: spinner

        x: row.updatedX
        anchors.verticalCenter: parent.verticalCenter
        visible: row.busy
    }
    CuttableText {
        readonly property real indent: row.busy ? spinner.width + 7 : 0

        x: row.updatedX + indent
        anchors.verticalCenter: parent.verticalCenter
        width: row.updatedWidth - 10 - indent
        visible: !row.chipShown
        text: row.updatedText
        tone: row.rolledBack && !row.busy ? Tone.Warning : Tone.Muted
    }
    Loader {
        id: chip

        x: row.updatedX
        anchors.verticalCenter: parent.verticalCenter
        visible: row.chipShown && !(row.actionsShown && row.collabAction !== "" && !row.roomy)
    }
    SharingLabel {
        x: row.sharingX
        anchors.verticalCenter: parent.verticalCenter
        width: row.sharingWidth - 10
        visible: !row.shared
        symbol: row.sharingSymbol
        text: row.sharingText
    }
    Loader {
        id: people

        x: row.sharingX
        anchors.verticalCenter: parent.verticalCenter
        visible: row.shared
    }
    Loader {
        id: actions

        anchors.fill: parent
        anchors.rightMargin: 14
        visible: row.actionsShown
    }
}
