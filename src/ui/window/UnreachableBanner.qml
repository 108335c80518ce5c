import QtQuick
import QtQuick.Layouts
import Driftwell

// The platform is out of reach, or on its way up; the last known list stays below.
Rectangle {
    id: banner

    required property string title
    required property string text
    // The same for who cannot see it: what is counted down is not told again every second.
    property string spoken: text
    // It is on its way up.
    property bool waiting: false
    // Why; empty when there is no more to say.
    property string reason: ""
    // What can be done about it; empty when nothing can.
    property string offer: ""
    property bool retryOffered: false
    // It is being asked just now.
    property bool retrying: false
    property bool platformChangeOffered: false

    signal accepted
    signal retried
    signal platformChangeAsked

    implicitHeight: line.implicitHeight + 16
    color: DW.canvas
    Accessible.role: Accessible.AlertMessage
    Accessible.name: title
    Accessible.description: spoken

    // An alert that comes into sight is not spoken by every screen reader.
    Announcement {
        text: banner.visible ? banner.title : ""
    }
    Rectangle {
        anchors.fill: parent
        color: DW.danger
        opacity: 0.09
    }
    RowLayout {
        id: line

        anchors { left: parent.left; right: parent.right; verticalCenter: parent.verticalCenter }
        anchors.leftMargin: 20
        anchors.rightMargin: 20
        spacing: 10

        StatusDot {
            visible: !banner.waiting
            size: 7
            tone: Tone.Danger
        }
        Spinner {
            visible: banner.waiting
            size: 12
        }
        ColumnLayout {
            spacing: 2

            AppText {
                Layout.fillWidth: true
                text: banner.title
                textStyle: TextStyle.Note
                font.weight: Font.DemiBold
            }
            CuttableText {
                Layout.fillWidth: true
                maximumLineCount: 1
                text: banner.text
                Accessible.name: banner.spoken
                monospaced: true
                textStyle: TextStyle.Detail
                tone: Tone.Muted
            }
            CuttableText {
                Layout.fillWidth: true
                visible: text !== ""
                maximumLineCount: 1
                text: banner.reason
                textStyle: TextStyle.Detail
                tone: Tone.Muted
            }
        }
        RowButton {
            visible: text !== ""
            text: banner.offer
            onClicked: banner.accepted()
        }
        RowButton {
            visible: banner.platformChangeOffered
            text: "Change platform…"
            onClicked: banner.platformChangeAsked()
        }
        RowButton {
            visible: banner.retryOffered
            enabled: !banner.retrying
            text: banner.retrying ? "Retrying…" : "Retry now"
            onClicked: banner.retried()
        }
    }
    Rectangle {
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        height: 1
        color: DW.border
    }
}
