pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Driftwell

// A folder becomes a website: a drawing without any state.
ColumnLayout {
    id: drawing

    readonly property string site: "my-site"
    readonly property string address: "my-site.driftwell.example"

    spacing: 10

    component FileChip: Rectangle {
        id: chip

        required property string name

        implicitWidth: file.implicitWidth + 14
        implicitHeight: 20
        radius: 6
        color: DW.chip

        AppText {
            id: file

            anchors.centerIn: parent
            text: chip.name
            monospaced: true
            textStyle: TextStyle.Hint
            tone: Tone.Muted
            Accessible.ignored: true
        }
    }
    component Line: Rectangle {
        radius: height / 2
        implicitHeight: 6
        color: DW.chip
    }

    RowLayout {
        Layout.alignment: Qt.AlignHCenter
        spacing: 14

        Card {
            Layout.preferredWidth: 190
            Layout.preferredHeight: 112

            ColumnLayout {
                anchors.centerIn: parent
                spacing: 6

                Symbol {
                    Layout.alignment: Qt.AlignHCenter
                    name: "folder.fill"
                    size: 34
                    tone: Tone.Accent
                }
                AppText {
                    Layout.alignment: Qt.AlignHCenter
                    text: drawing.site
                    textStyle: TextStyle.Callout
                    font.weight: Font.DemiBold
                    Accessible.ignored: true
                }
                RowLayout {
                    spacing: 6

                    FileChip { name: "index.html" }
                    FileChip { name: "style.css" }
                }
            }
        }
        RowLayout {
            spacing: 5

            Repeater {
                model: 4

                Rectangle {
                    implicitWidth: 8
                    implicitHeight: 2
                    radius: 1
                    color: DW.borderStrong
                }
            }
            Symbol {
                name: "chevron.right"
                size: 16
                tone: Tone.Accent
            }
        }
        Card {
            id: browser

            Layout.preferredWidth: 260
            Layout.preferredHeight: 112

            RowLayout {
                id: bar

                x: 12
                width: browser.width - 24
                height: 34
                spacing: 5

                Repeater {
                    model: 3

                    Rectangle {
                        implicitWidth: 7
                        implicitHeight: 7
                        radius: 3.5
                        color: DW.borderStrong
                    }
                }
                Rectangle {
                    Layout.fillWidth: true
                    Layout.leftMargin: 6
                    implicitHeight: 20
                    radius: 6
                    color: DW.chip

                    AppText {
                        anchors.centerIn: parent
                        text: drawing.address
                        monospaced: true
                        textStyle: TextStyle.Hint
                        Accessible.ignored: true
                    }
                }
            }
            Rectangle {
                y: bar.height
                x: 1
                width: browser.width - 2
                height: 1
                color: DW.rowDivider
            }
            Column {
                x: 16
                y: bar.height + 14
                width: browser.width - 32
                spacing: 9

                Line {
                    width: 92
                    height: 10
                    color: DW.accent
                }
                Line {
                    width: parent.width
                }
                Line {
                    width: parent.width * 0.72
                }
            }
        }
    }
    AppText {
        Layout.fillWidth: true
        horizontalAlignment: Text.AlignHCenter
        text: "A folder called " + drawing.site + " becomes the website " + drawing.address
        textStyle: TextStyle.Caption
        tone: Tone.Faint
    }
}
