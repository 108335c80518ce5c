import QtQuick
import Driftwell

// The tip of the item that it fills. It is made when the pointer rests there, since most are never seen.
Loader {
    id: place

    required property string text
    required property bool resting

    function follow(): void {
        if (resting && text !== "") {
            setSource("Tip.qml", {text: text, visible: true});
        } else {
            (item as Tip)?.close();
            source = "";
        }
    }

    anchors.fill: parent
    // Rows of a list change their texts with every step.
    onTextChanged: if (resting) follow()
    onRestingChanged: follow()
}
