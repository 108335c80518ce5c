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
        // By number: for other people the circles stay and change.
        model: [...stack.emails].length

        Outline {
            id: circle

            required property int index
            readonly property string email: stack.emails[index] ?? ""

            width: 22
            height: 22
            radius: 11
            color: DW.seedTint(email, DW.dark).bg
            stroke: 1.5
            border.color: DW.card

            AppText {
                anchors.centerIn: parent
                text: Format.firstCharacter(circle.email).toUpperCase()
                textStyle: TextStyle.FieldLabel
                color: DW.seedTint(circle.email, DW.dark).fg
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
