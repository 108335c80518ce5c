pragma ComponentBehavior: Bound

import QtQuick
import Driftwell

// The tip of the item that it fills. It is made when the pointer rests there, since most are never seen.
Loader {
    id: place

    required property string text
    required property bool resting

    anchors.fill: parent
    active: resting && text !== ""
    sourceComponent: Tip {
        text: place.text
        visible: true
    }
}
