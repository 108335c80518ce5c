import QtQuick
import Driftwell

// A text that tells the whole of itself under a resting pointer where it had to be cut.
AppText {
    id: text

    HoverHandler {
        id: hover

        enabled: text.truncated
    }
    RestingTip {
        text: text.text
        resting: hover.hovered && text.truncated
    }
}
