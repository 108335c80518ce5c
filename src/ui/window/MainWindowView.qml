import QtQuick
import QtQuick.Layouts
import Driftwell

// The window: bar, banner, content, and what lies over them.
FocusScope {
    id: root

    required property MainWindowModel model
    required property WindowControls window

    readonly property bool introduces: model.content === MainWindowModel.Onboarding

    function presentContent(): void {
        switch (model.content) {
        case MainWindowModel.Onboarding:
            return content.setSource("OnboardingView.qml", {model: model.onboarding});
        case MainWindowModel.SignIn:
            return content.setSource("SignInView.qml", {model: model.signIn});
        case MainWindowModel.NoHost:
            return content.setSource("NoHostView.qml", {model: model});
        case MainWindowModel.EmptyState:
            return content.setSource("EmptyStateView.qml", {model: model});
        default:
            return content.setSource("SiteListView.qml", {model: model.siteList});
        }
    }

    focus: true
    Component.onCompleted: presentContent()

    Rectangle {
        anchors.fill: parent
        color: DW.canvas
    }

    Connections {
        target: root.model

        function onContentChanged(): void {
            root.presentContent();
        }
    }
    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        ToolbarView {
            id: toolbar

            Layout.fillWidth: true
            visible: !root.introduces
            model: root.model.toolbar
            window: root.window
            onFilterLeft: (content.item as SiteListView)?.enterRows()
        }
        UnreachableBanner {
            Layout.fillWidth: true
            visible: root.model.banner.visible && !root.introduces
            title: root.model.banner.title
            text: root.model.banner.text
            spoken: root.model.banner.spoken
            waiting: root.model.banner.waiting
            reason: root.model.banner.reason
            offer: root.model.banner.offer
            retryOffered: root.model.banner.retryOffered
            retrying: root.model.banner.retrying
            platformChangeOffered: root.model.banner.platformChangeOffered && !root.model.choosingPlatform
            onAccepted: root.model.banner.acceptOffer()
            onRetried: root.model.banner.retryNow()
            onPlatformChangeAsked: root.model.choosePlatform()
        }
        CLIRelinkBanner {
            Layout.fillWidth: true
            visible: root.model.relinkBanner.visible && !root.introduces
            text: root.model.relinkBanner.text
            error: root.model.relinkBanner.error
            busy: root.model.relinkBanner.busy
            onRelinked: root.model.relinkBanner.relink()
        }
        Loader {
            id: content

            Layout.fillWidth: true
            Layout.fillHeight: true
            focus: true
            // What is useful on a page has the keyboard there.
            onLoaded: (item as Item).focus = true
        }
    }
    WindowStrip {
        anchors { left: parent.left; right: parent.right; top: parent.top }
        visible: root.introduces
        window: root.window
    }
    WindowSheets {
        id: sheets

        anchors.fill: parent
        model: root.model
    }
    DropOverlayView {
        // Also over a sheet, of which it says that it is in the way.
        parent: root.Window.contentItem ?? root
        z: frame.aboveSheets - 1
        anchors.fill: parent
        visible: root.model.dropOverlayVisible
        invites: root.model.dropInvited
        title: root.model.dropTitle
        text: root.model.dropText
        note: root.model.dropNote
    }
    Rectangle {
        // A window without a frame would otherwise run into a window of its own colour behind it.
        anchors.fill: parent
        visible: root.window.resizable
        color: "transparent"
        border.width: 1
        border.color: DW.border
    }
    ResizeBorder {
        anchors.fill: parent
        window: root.window
    }
    SheetFrame {
        id: frame

        parent: root.Window.contentItem ?? root
        anchors.fill: parent
        visible: sheets.open
        toolbar: toolbar
        window: root.window
    }
    Shortcut {
        sequences: ["Ctrl+F"]
        enabled: !sheets.open && !root.introduces
        onActivated: toolbar.focusFilter()
    }
    Shortcut {
        sequences: ["Ctrl+D"]
        enabled: !sheets.open && !root.introduces && !root.model.siteList.paused
        onActivated: root.model.chooseFolderAndDeploy()
    }
    Shortcut {
        sequences: ["F5"]
        enabled: !sheets.open && !root.introduces
        onActivated: root.model.siteList.refresh()
    }
    Shortcut {
        sequences: ["F1"]
        enabled: !sheets.open && !root.introduces
        onActivated: root.model.showKeys()
    }
}
