import QtQuick
import QtQuick.Layouts
import Driftwell

// How something stands, in a few words after a mark: a symbol, or a spinner while it is under way.
RowLayout {
    id: outcome

    property string symbol: ""
    property int tone: Tone.Accent
    property bool busy: false
    property string text: ""

    spacing: 7

    Spinner {
        visible: outcome.busy
    }
    Symbol {
        visible: outcome.symbol !== ""
        name: outcome.symbol
        size: 14
        tone: outcome.tone
    }
    AppText {
        Layout.fillWidth: true
        visible: text !== ""
        text: outcome.text
        textStyle: TextStyle.Note
        verticalAlignment: Text.AlignVCenter
        wrapMode: Text.Wrap
    }
}
