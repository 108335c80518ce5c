pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Driftwell

// The versions of a site, and the way back to the one before.
Sheet {
    id: sheet

    required property VersionHistoryModel model

    title: model.title
    onEscaped: model.close()

    ColumnLayout {
        width: parent.width
        spacing: 14

        SheetHeading {
            Layout.fillWidth: true
            text: sheet.model.title
        }
        Waiting {
            Layout.fillWidth: true
            visible: sheet.model.state === VersionHistoryModel.Loading
            implicitHeight: 96
            label: "Loading the versions"
        }
        AppText {
            Layout.fillWidth: true
            visible: sheet.model.state === VersionHistoryModel.Empty
            text: "No deploys recorded"
            tone: Tone.Muted
        }
        ReadingList {
            id: versions

            Layout.fillWidth: true
            visible: count > 0
            implicitHeight: Math.min(contentHeight, 312)
            label: "Versions"
            model: sheet.model

            delegate: HistoryRow {
                width: versions.width
                history: sheet.model
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
