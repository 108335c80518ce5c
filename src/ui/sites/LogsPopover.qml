pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Driftwell

// What has happened on a site lately, beside its row. It goes with a press anywhere else.
Dialog {
    id: popover

    required property LogsModel model
    // Where the row stood in the parent when the popover was asked for.
    required property rect place

    readonly property real below: place.y + place.height - 6
    readonly property real above: place.y - height + 6

    title: "Logs of " + model.site
    header: null
    footer: null
    width: 480
    height: 300
    x: place.x + place.width - width - 14
    // Where the row stays in sight, if it can.
    y: below + height > parent.height && above >= 0 ? above : below
    margins: 8
    padding: 0
    modal: true
    dim: false
    focus: true
    closePolicy: Popup.CloseOnEscape | Popup.CloseOnPressOutside
    onClosed: model.close()

    background: Outline {
        color: DW.card
        radius: 10
        border.color: DW.borderStrong
        Accessible.ignored: true
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        RowLayout {
            Layout.fillWidth: true
            Layout.margins: 12
            spacing: 8

            CuttableText {
                Layout.maximumWidth: 240
                text: popover.model.site
                textStyle: TextStyle.Callout
                font.weight: Font.DemiBold
                elide: Text.ElideMiddle
                Accessible.role: Accessible.Heading
            }
            AppText {
                Layout.fillWidth: true
                text: "recent activity"
                textStyle: TextStyle.Detail
                tone: Tone.Muted
            }
            AppText {
                text: popover.model.countText
                visible: text !== ""
                textStyle: TextStyle.Hint
                tone: Tone.Muted
            }
        }
        Rectangle {
            Layout.fillWidth: true
            Layout.leftMargin: 1
            Layout.rightMargin: 1
            implicitHeight: 1
            color: DW.rowDivider
        }
        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true

            Waiting {
                anchors.fill: parent
                visible: popover.model.state === LogsModel.Loading
                label: "Loading the activity"
            }
            AppText {
                anchors.centerIn: parent
                width: parent.width - 40
                visible: popover.model.state === LogsModel.Empty
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.WrapAtWordBoundaryOrAnywhere
                maximumLineCount: 4
                text: popover.model.nothing
                textStyle: TextStyle.Callout
                tone: Tone.Muted
            }
            LogsFailure {
                anchors.fill: parent
                anchors.margins: 16
                visible: popover.model.state === LogsModel.Failed
                error: popover.model.error
            }
            ReadingList {
                id: lines

                anchors.fill: parent
                anchors.margins: 1
                focus: true
                label: "Recent activity"
                model: popover.model

                delegate: LogRow {
                    width: lines.width
                }
            }
        }
    }
}
