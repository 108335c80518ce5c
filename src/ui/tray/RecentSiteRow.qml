import QtQuick
import QtQuick.Layouts
import Driftwell

PanelRow {
    id: row

    required property string name
    required property string age
    required property bool deploying
    required property bool publishable

    signal publishedAgain

    implicitHeight: 28
    // Its room stays free, so that nothing moves when it comes.
    rightPadding: publishable ? 38 : 14
    text: name
    details: deploying ? "deploying…" : age

    // A menu is walked up and down; what a row has beside stands to its right.
    Keys.onRightPressed: {
        if (publishable)
            again.forceActiveFocus(Qt.TabFocusReason);
    }

    IconButton {
        id: again

        readonly property bool shown: row.publishable && (row.hovered || hovered || activeFocus)

        anchors { right: parent.right; rightMargin: 12; verticalCenter: parent.verticalCenter }
        implicitWidth: 20
        implicitHeight: 20
        visible: row.publishable
        opacity: shown ? 1 : 0
        activeFocusOnTab: false
        size: 12
        symbol: "arrow.up"
        label: "Publish " + row.name + " again"
        tip: "Publish Again"
        Accessible.ignored: !shown
        Keys.onLeftPressed: row.forceActiveFocus(Qt.BacktabFocusReason)
        onClicked: row.publishedAgain()
    }

    contentItem: RowLayout {
        spacing: 6

        AppText {
            Layout.fillWidth: true
            text: row.name
            textStyle: TextStyle.Callout
            elide: Text.ElideMiddle
            Accessible.ignored: true
        }
        AppText {
            text: row.details
            monospaced: !row.deploying
            textStyle: TextStyle.Detail
            tone: row.deploying ? Tone.Accent : Tone.Muted
            Accessible.ignored: true
        }
        Symbol {
            visible: row.hovered && !row.deploying
            name: "arrow.up.right"
            size: 9.5
            tone: Tone.Muted
        }
    }
}
