pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Driftwell

// The keys of the window.
Sheet {
    id: sheet

    required property KeyListModel model

    title: "Keyboard Shortcuts"
    preferredWidth: 560
    onEscaped: model.close()

    ColumnLayout {
        width: parent.width
        height: Math.min(implicitHeight, sheet.room)
        spacing: 14

        SheetHeading {
            Layout.fillWidth: true
            text: sheet.title
        }
        ReadingList {
            id: keys

            Layout.fillWidth: true
            Layout.fillHeight: true
            implicitHeight: contentHeight
            label: sheet.title
            model: sheet.model

            delegate: ReadingRow {
                id: row

                required property string keys
                required property string action

                width: ListView.view.width
                implicitHeight: columns.implicitHeight + 14
                label: keys + ": " + action

                RowLayout {
                    id: columns

                    anchors { left: parent.left; right: parent.right; verticalCenter: parent.verticalCenter }
                    anchors.rightMargin: 14
                    spacing: 12

                    AppText {
                        Layout.preferredWidth: 170
                        Layout.alignment: Qt.AlignTop
                        wrapMode: Text.Wrap
                        text: row.keys
                        textStyle: TextStyle.Callout
                        font.weight: Font.Medium
                        Accessible.ignored: true
                    }
                    AppText {
                        Layout.fillWidth: true
                        Layout.alignment: Qt.AlignTop
                        wrapMode: Text.Wrap
                        text: row.action
                        textStyle: TextStyle.Callout
                        tone: Tone.Muted
                        Accessible.ignored: true
                    }
                }
            }
        }
        PushButton {
            Layout.alignment: Qt.AlignRight
            text: "Done"
            prominent: true
            focus: true
            onClicked: sheet.model.close()
        }
    }
}
