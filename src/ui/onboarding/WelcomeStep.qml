import QtQuick
import QtQuick.Layouts
import Driftwell

ColumnLayout {
    spacing: 20

    StepHeader {
        Layout.fillWidth: true
        title: "Welcome to Driftwell"
        subtitle: "Drag a folder onto this window and it’s a live website on your team’s platform. Driftwell then waits in your menu bar, ready for the next one."
    }
    FlowIllustration {
        Layout.fillWidth: true
    }
    ColumnLayout {
        Layout.fillWidth: true
        spacing: 12

        Feature {
            Layout.fillWidth: true
            symbol: "folder.badge.plus"
            title: "Drop a folder"
            detail: "Any folder of HTML. It’s live at its own URL about 30 seconds later."
        }
        Feature {
            Layout.fillWidth: true
            symbol: "person.2"
            title: "Choose who sees it"
            detail: "Your team, a few named people, or anyone — set per project."
        }
        Feature {
            Layout.fillWidth: true
            symbol: "arrow.triangle.merge"
            title: "Edit together"
            detail: "Linked folders merge instead of overwriting, so teammates and agents work on one site."
        }
    }
}
