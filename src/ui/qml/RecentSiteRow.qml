import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Driftwell

AbstractButton {
    id: row

    required property string name
    required property string age
    required property bool deploying

    implicitHeight: 28
    leftPadding: 14
    rightPadding: 14
    hoverEnabled: true
    text: name
    Accessible.description: deploying ? "deploying…" : age
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    contentItem: RowLayout {
        spacing: 6

        AppText {
            Layout.fillWidth: true
            text: row.name
            size: 12.5
            elide: Text.ElideMiddle
            Accessible.ignored: true
        }
        AppText {
            text: row.deploying ? "deploying…" : row.age
            monospaced: !row.deploying
            size: 11.5
            color: row.deploying ? DW.accent : DW.textSecondary
            Accessible.ignored: true
        }
        Symbol {
            visible: row.hovered && !row.deploying
            name: "arrow.up.right"
            size: 11
            color: DW.textSecondary
        }
    }
    background: Rectangle {
        x: 6
        width: row.width - 12
        radius: 6
        color: DW.textPrimary
        opacity: row.hovered || row.visualFocus ? 0.07 : 0
    }
}
