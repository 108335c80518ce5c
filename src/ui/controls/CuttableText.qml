import QtQuick
import Driftwell

// A text that tells the whole of itself under a resting pointer where it had to be cut.
AppText {
    id: words

    HoverHandler {
        id: hover
    }
    RestingTip {
        text: words.text
        resting: hover.hovered && words.truncated
    }
}
