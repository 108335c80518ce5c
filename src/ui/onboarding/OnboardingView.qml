import QtQuick
import QtQuick.Layouts
import Driftwell

// The introduction of the first run: one step at a time, and what leads on at the foot.
FocusScope {
    id: view

    required property OnboardingModel model
    readonly property real columnWidth: Math.min(620, width - 40)

    function presentStep(): void {
        switch (model.step) {
        case OnboardingModel.Welcome:
            return steps.setSource("WelcomeStep.qml");
        case OnboardingModel.Setup:
            return steps.setSource("SetupStep.qml", {model: model});
        default:
            return steps.setSource("SignInStep.qml", {model: model});
        }
    }

    focus: true
    Accessible.role: Accessible.Pane
    Accessible.name: "Introduction"
    // The button at the foot is what Return does wherever the keyboard is.
    Keys.onReturnPressed: view.model.runPrimary()
    Keys.onEnterPressed: view.model.runPrimary()
    Component.onCompleted: {
        presentStep();
        primary.forceActiveFocus();
    }

    Connections {
        target: view.model

        function onStepChanged(): void {
            view.presentStep();
            area.contentY = 0;
            arrival.restart();
            primary.forceActiveFocus();
        }
    }
    NumberAnimation {
        id: arrival

        target: steps
        property: "opacity"
        from: 0
        to: 1
        duration: 220
        easing.type: Easing.OutQuad
    }
    ScrollArea {
        id: area

        readonly property real margin: 52

        anchors { left: parent.left; right: parent.right; top: parent.top; bottom: footer.top }
        contentHeight: Math.max(height, steps.height + margin + 16)

        Loader {
            id: steps

            x: (area.width - width) / 2
            y: Math.max(area.margin, (area.contentHeight - height) / 2)
            width: view.columnWidth
        }
    }
    Rectangle {
        id: footer

        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        height: 52
        color: DW.surfaceSubtle

        Rectangle {
            width: parent.width
            height: 1
            color: DW.border
        }
        RowLayout {
            anchors.verticalCenter: parent.verticalCenter
            x: (parent.width - width) / 2
            width: view.columnWidth
            spacing: 10

            PushButton {
                visible: view.model.step !== OnboardingModel.Welcome
                text: "Back"
                onClicked: view.model.go(-1)
            }
            Item {
                Layout.fillWidth: true
            }
            PushButton {
                id: primary

                implicitHeight: 36
                prominent: true
                enabled: view.model.primaryEnabled
                text: view.model.primaryTitle
                onClicked: view.model.runPrimary()
            }
        }
    }
}
