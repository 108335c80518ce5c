import QtQuick
import QtQuick.Controls.Basic
import Driftwell

// What everything that is pressed has in common: pointer, Return and Space press it, a ring shows that it has the
// keyboard, a resting pointer is told more, and who cannot see it is told the same.
AbstractButton {
    id: pressable

    // Said under a resting pointer, whether the control can be pressed or not.
    property string tip: ""
    // Told to assistive technology besides the name.
    property string details: ""
    // Where what is pressed shows the keyboard in another way.
    property bool ringShown: true
    property real ringDistance: 3
    property real ringRadius: 10
    readonly property bool highlighted: hovered || visualFocus

    hoverEnabled: true
    Accessible.name: text
    Accessible.description: details
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    FocusRing {
        shown: pressable.ringShown && pressable.visualFocus
        anchors.margins: -pressable.ringDistance
        radius: pressable.ringRadius
    }
    RestingTip {
        text: pressable.tip
        resting: pressable.hovered
    }
}
