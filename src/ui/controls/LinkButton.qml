import QtQuick
import QtQuick.Layouts
import Driftwell

// An address that is opened elsewhere.
Pressable {
    id: link

    ringRadius: 6

    contentItem: RowLayout {
        spacing: 4

        AppText {
            Layout.fillWidth: true
            text: link.text
            tone: Tone.Accent
            font.underline: link.hovered
            elide: Text.ElideMiddle
            Accessible.ignored: true
        }
        Symbol {
            name: "arrow.up.right"
            size: 11
            tone: Tone.Accent
        }
    }
    HoverHandler {
        cursorShape: Qt.PointingHandCursor
    }
}
