import QtQuick
import Driftwell

// A person: the name gives the letters, the seed the colour.
Rectangle {
    id: avatar

    required property string name
    required property string seed
    property real size: 28

    implicitWidth: size
    implicitHeight: size
    radius: size / 2
    color: Format.seedColor(seed)
    Accessible.role: Accessible.Graphic
    Accessible.name: name

    AppText {
        anchors.centerIn: parent
        text: Format.initials(avatar.name)
        font.pointSize: TextStyle.points(avatar.size * 0.42)
        font.weight: Font.DemiBold
        color: "white"
        Accessible.ignored: true
    }
}
