import QtQuick
import QtQuick.Layouts
import Driftwell

// The bar at the top of the window, which is also its title bar.
Rectangle {
    id: toolbar

    required property ToolbarModel model
    required property WindowControls window

    // The keyboard goes on from the filter to what is filtered.
    signal filterLeft

    function focusFilter(): void {
        filter.forceActiveFocus();
        filter.selectAll();
    }

    // For a press that does not reach the button itself; null beside them.
    function windowButtonAt(at: point): IconButton {
        const inside = windowButtons.mapFromItem(toolbar, at);
        return windowButtons.childAt(inside.x, inside.y) as IconButton;
    }

    implicitHeight: 52
    color: DW.toolbar
    Accessible.role: Accessible.ToolBar
    Accessible.name: model.title

    TitleBarArea {
        anchors.fill: parent
        window: toolbar.window
        onDoubleClicked: toolbar.window.toggleMaximized()
    }
    WindowButtons {
        id: windowButtons

        x: 8
        anchors.verticalCenter: parent.verticalCenter
        window: toolbar.window
    }
    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 90
        anchors.rightMargin: 20
        spacing: 9

        AppMark {}
        AppText {
            text: toolbar.model.title
            textStyle: TextStyle.BarTitle
        }
        StatusDot {
            tone: toolbar.model.statusTone
            Accessible.role: Accessible.Graphic
            Accessible.name: toolbar.model.statusTip

            HoverHandler {
                id: dotHover

                margin: 8
            }
            RestingTip {
                text: toolbar.model.statusTip
                resting: dotHover.hovered
            }
        }
        AppText {
            Layout.fillWidth: true
            text: toolbar.model.host
            monospaced: true
            textStyle: TextStyle.Caption
            tone: Tone.Faint
        }
        SearchField {
            id: filter

            Layout.preferredWidth: 230
            placeholderText: "Filter projects"
            text: toolbar.model.filter
            onTextChanged: toolbar.model.filter = text
            onWentOn: toolbar.filterLeft()
        }
        AvatarView {
            visible: toolbar.model.hasIdentity
            name: toolbar.model.personName
            seed: toolbar.model.personEmail
            size: 28

            HoverHandler {
                id: avatarHover
            }
            RestingTip {
                text: toolbar.model.personTip
                resting: avatarHover.hovered
            }
        }
    }
    Rectangle {
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        height: 1
        color: DW.border
    }
}
