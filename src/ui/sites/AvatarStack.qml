pragma ComponentBehavior: Bound

import QtQuick
import Driftwell

// The people a site is shared with: the first ones as circles, the rest as a number.
Row {
    id: stack

    required property list<string> emails
    required property int more

    spacing: -6
    Accessible.role: Accessible.StaticText
    Accessible.name: "Shared with " + [...emails].join(", ") + (more > 0 ? " and " + more + " more" : "")

    Repeater {
        model: stack.emails

        Outline {
            id: circle

            required property string modelData

            width: 22
            height: 22
            radius: 11
            color: DW.seedTint(modelData, DW.dark).bg
            stroke: 1.5
            border.color: DW.card

            AppText {
                anchors.centerIn: parent
                text: Format.firstCharacter(circle.modelData).toUpperCase()
                textStyle: TextStyle.FieldLabel
                color: DW.seedTint(circle.modelData, DW.dark).fg
                Accessible.ignored: true
            }
        }
    }
    Item {
        visible: stack.more > 0
        width: count.implicitWidth + 12
        height: 22

        AppText {
            id: count

            anchors.verticalCenter: parent.verticalCenter
            x: 10
            text: "+" + stack.more
            textStyle: TextStyle.FieldLabel
            tone: Tone.Muted
            Accessible.ignored: true
        }
    }
}
