import QtQuick
import Driftwell

// Something is awaited that will fill this place.
Item {
    id: waiting

    // What it is, for who cannot see it.
    required property string label

    Accessible.role: Accessible.ProgressBar
    Accessible.name: label

    Spinner {
        anchors.centerIn: parent
        size: 18
    }
}
