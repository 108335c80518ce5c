import QtQuick
import Driftwell

// A site: its first letter on the tint that belongs to its name.
Rectangle {
    id: favicon

    required property string name

    implicitWidth: 32
    implicitHeight: 32
    radius: 8
    color: DW.seedTint(name, DW.dark).bg
    Accessible.ignored: true

    AppText {
        anchors.centerIn: parent
        text: Format.firstCharacter(favicon.name).toUpperCase()
        font.pointSize: TextStyle.points(15)
        font.weight: Font.DemiBold
        color: DW.seedTint(favicon.name, DW.dark).fg
        Accessible.ignored: true
    }
}
