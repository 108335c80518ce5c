import QtQuick
import QtQuick.Controls.Basic
import Driftwell

// The bar of every area that is scrolled: it shows itself while the area moves, and the mouse wheel moves the area by
// steps.
ScrollBar {
    id: bar

    onPositionChanged: {
        active = true;
        rest.restart();
    }

    WheelSteps {
        area: bar.parent
    }
    Timer {
        id: rest

        interval: 500
        onTriggered: bar.active = bar.hovered || bar.pressed
    }
}
