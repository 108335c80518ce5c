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
        return leftButtons.buttonAt(leftButtons.mapFromItem(toolbar, at)) ?? rightButtons.buttonAt(rightButtons.mapFromItem(toolbar, at));
    }

    implicitHeight: 52
    color: DW.toolbar
    Accessible.role: Accessible.ToolBar
    Accessible.name: model.title

    TitleBarArea {
        anchors.fill: parent
        window: toolbar.window
        onDoubleClicked: mouse => {
            if (mouse.button === Qt.LeftButton)
                toolbar.window.toggleMaximized();
        }
    }
    WindowButtons {
        id: leftButtons

        anchors { left: parent.left; leftMargin: 8; verticalCenter: parent.verticalCenter }
        window: toolbar.window
        order: window.leftButtons
    }
    WindowButtons {
        id: rightButtons

        anchors { right: parent.right; rightMargin: 8; verticalCenter: parent.verticalCenter }
        window: toolbar.window
        order: window.rightButtons
    }
    RowLayout {
        anchors.fill: parent
        // Clear of the window's buttons, on whichever side the desktop has them.
        anchors.leftMargin: leftButtons.width > 0 ? 90 : 20
        anchors.rightMargin: rightButtons.width > 0 ? 90 : 20
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
        AccountButton {
            visible: toolbar.model.hasIdentity
            model: toolbar.model
        }
    }
    Rectangle {
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        height: 1
        color: DW.border
    }
}
