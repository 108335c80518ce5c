import QtQuick
import QtQuick.Controls.Basic
import Driftwell

// What every field that is typed into has in common.
TextField {
    property int textStyle: TextStyle.Body

    padding: 0
    verticalAlignment: TextInput.AlignVCenter
    color: DW.textPrimary
    placeholderTextColor: DW.textTertiary
    selectionColor: DW.accent
    selectedTextColor: DW.toneColor(Tone.OnAccent, DW.dark)
    font.pointSize: TextStyle.pointSize(textStyle)
    background: null
}
