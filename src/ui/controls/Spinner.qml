pragma ComponentBehavior: Bound

import QtQuick
import Driftwell

// Something is under way and nobody knows for how long.
Item {
    id: spinner

    property real size: 14
    property int turn

    implicitWidth: size
    implicitHeight: size
    Accessible.ignored: true

    NumberAnimation on turn {
        running: spinner.visible
        from: 0
        to: 8
        duration: 900
        loops: Animation.Infinite
    }
    Repeater {
        model: 8

        Rectangle {
            required property int index

            width: spinner.size / 5
            height: width
            radius: width / 2
            color: DW.textSecondary
            opacity: 0.2 + 0.1 * ((index + 8 - spinner.turn) % 8)
            x: (spinner.size - width) / 2 * (1 + Math.sin(index * Math.PI / 4))
            y: (spinner.size - height) / 2 * (1 - Math.cos(index * Math.PI / 4))
        }
    }
}
