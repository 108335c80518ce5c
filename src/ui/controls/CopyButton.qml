import QtQuick
import Driftwell

// Copies something, and says for a while that it has.
PushButton {
    id: button

    required property string copiedText
    required property string copySymbol
    required property string copyText
    required property bool copied

    text: copied ? copiedText : copyText
    symbol: copied ? "checkmark" : copySymbol
    onCopiedChanged: change.restart()

    NumberAnimation {
        id: change

        target: button
        property: "faceOpacity"
        from: 0.2
        to: 1
        duration: 120
        easing.type: Easing.OutQuad
    }
}
