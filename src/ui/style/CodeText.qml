import QtQuick
import Driftwell

// A text that names commands, which stand between backticks in it and stand out on screen.
AppText {
    required property string source

    text: Format.codeMarked(source)
    textFormat: Text.StyledText
    wrapMode: Text.Wrap
    Accessible.name: Format.codeUnmarked(source)
}
