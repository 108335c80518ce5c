import QtQuick
import QtQuick.Controls.Basic
import Driftwell

// A switch in the palette's colours, its label before it.
Switch {
    id: toggle

    spacing: 10
    padding: 0

    contentItem: AppText {
        text: toggle.text
        rightPadding: toggle.indicator.width + toggle.spacing
        verticalAlignment: Text.AlignVCenter
        Accessible.ignored: true
    }
    indicator: Rectangle {
        x: toggle.width - width
        y: (toggle.height - height) / 2
        implicitWidth: 38
        implicitHeight: 22
        radius: height / 2
        color: toggle.checked ? DW.accent : DW.toggleOff

        Rectangle {
            x: knob.x
            y: knob.y + 1
            width: knob.width
            height: knob.height
            radius: knob.radius
            color: "black"
            opacity: 0.19
        }
        Rectangle {
            id: knob

            x: toggle.checked ? parent.width - width - 2 : 2
            y: 2
            width: 18
            height: 18
            radius: 9
            color: "white"

            Behavior on x {
                NumberAnimation {
                    duration: 150
                    easing.type: Easing.OutQuad
                }
            }
        }
        FocusRing {
            shown: toggle.visualFocus
            radius: 14
        }
    }
}
