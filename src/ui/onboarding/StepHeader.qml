import QtQuick
import QtQuick.Layouts
import Driftwell

ColumnLayout {
    id: header

    required property string title
    required property string subtitle

    spacing: 6

    AppText {
        Layout.fillWidth: true
        text: header.title
        textStyle: TextStyle.PageTitle
        Accessible.role: Accessible.Heading
    }
    AppText {
        Layout.fillWidth: true
        text: header.subtitle
        wrapMode: Text.Wrap
        tone: Tone.Muted
        lineHeight: 1.25
    }
}
