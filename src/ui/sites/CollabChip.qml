import QtQuick
import Driftwell

// How a site's folder stands to the platform, in a word or two.
Rectangle {
    id: chip

    required property string text
    required property bool warns

    implicitWidth: Math.ceil(label.implicitWidth) + 16
    implicitHeight: label.implicitHeight + 5
    radius: height / 2
    color: warns ? Qt.alpha(DW.warning, 0.12) : DW.accentTint

    AppText {
        id: label

        anchors.fill: parent
        anchors.leftMargin: 8
        anchors.rightMargin: 8
        verticalAlignment: Text.AlignVCenter
        text: chip.text
        textStyle: TextStyle.Hint
        font.weight: Font.DemiBold
        color: chip.warns ? DW.warning : DW.accentDark
        Accessible.ignored: true
    }
}
