import QtQuick
import QtQuick.Controls.Basic
import Driftwell

// A switch in the palette's colours, its label before it.
Switch {
    id: toggle

    function press(): void {
        toggle.toggle();
        toggle.toggled();
        toggle.clicked();
    }

    component Track: Rectangle {
        id: track

        required property bool on

        implicitWidth: 38
        implicitHeight: 22
        radius: height / 2
        color: on ? DW.accent : DW.toggleOff

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

            x: track.on ? track.width - width - 2 : 2
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
    }

    spacing: 10
    padding: 0
    Keys.onReturnPressed: press()
    Keys.onEnterPressed: press()

    contentItem: AppText {
        text: toggle.text
        rightPadding: toggle.indicator.width + toggle.spacing
        verticalAlignment: Text.AlignVCenter
        Accessible.ignored: true
    }
    indicator: Track {
        // At a part of a pixel, the renderer leaves gaps between the parts of a round shape that it draws anew.
        x: Math.round(toggle.width - width)
        y: Math.round((toggle.height - height) / 2)
        on: toggle.checked

        FocusRing {
            shown: toggle.visualFocus
            radius: 14
        }
    }
}
