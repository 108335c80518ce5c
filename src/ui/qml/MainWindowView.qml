import QtQuick
import QtQuick.Layouts
import Driftwell

// The window: bar, banner, content, and what lies over them.
Rectangle {
    id: root

    required property MainWindowModel model
    required property WindowControls window

    readonly property bool sheetOpen: sheet.status === Loader.Ready || root.model.alertTitle !== ""

    function presentDeployment(sheetModel: DeploySheetModel): void {
        const old = sheet.item as DeploySheet;
        if (old) {
            old.close();
        }
        if (sheetModel) {
            sheet.setSource("DeploySheet.qml", {model: sheetModel, parent: root, visible: true});
        } else {
            sheet.source = "";
        }
    }

    function presentContent(): void {
        switch (model.content) {
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

    // A sheet that is opened before there is a window for it stays closed.
    readonly property bool placed: Window.window !== null

    color: DW.canvas
    Component.onCompleted: presentContent()
    onPlacedChanged: presentDeployment(model.deploySheet)

    Connections {
        target: root.model

        function onContentChanged(): void {
            root.presentContent();
        }
        function onDeploySheetChanged(): void {
            root.presentDeployment(root.model.deploySheet);
        }
    }
    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        ToolbarView {
            id: toolbar

            Layout.fillWidth: true
            model: root.model.toolbar
            window: root.window
        }
        UnreachableBanner {
            Layout.fillWidth: true
            visible: root.model.bannerVisible
            title: root.model.bannerTitle
            text: root.model.bannerText
        }
        Loader {
            id: content

            Layout.fillWidth: true
            Layout.fillHeight: true
            focus: true
        }
    }
    Loader {
        id: sheet
    }
    AlertSheet {
        visible: root.placed && root.model.alertTitle !== ""
        title: root.model.alertTitle
        text: root.model.alertText
        onDismissed: root.model.dismissAlert()
    }
    DropOverlayView {
        anchors.fill: parent
        visible: root.model.dropOverlayVisible
        host: root.model.host
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
        parent: root.placed ? root.Window.contentItem : root
        anchors.fill: parent
        visible: root.sheetOpen
        toolbar: toolbar
        window: root.window
    }
    Shortcut {
        sequences: ["Ctrl+F"]
        enabled: !root.sheetOpen
        onActivated: toolbar.focusFilter()
    }
    Shortcut {
        sequences: ["Ctrl+D"]
        enabled: !root.sheetOpen && !root.model.siteList.paused
        onActivated: root.model.chooseFolderAndDeploy()
    }
}
