import QtQuick
import Driftwell

Rectangle {
    property int tone: Tone.Primary
    property real size: 6

    implicitWidth: size
    implicitHeight: size
    radius: size / 2
    color: DW.toneColor(tone, DW.dark)
}
