import QtQuick
import Driftwell

// What a deployment shows in the phase that it is in.
FocusScope {
    id: phases

    required property DeploySheetModel model

    function present(): void {
        switch (model.phase) {
        case DeploySheetModel.Confirm:
            return phase.setSource("ConfirmPhase.qml", {model: model});
        case DeploySheetModel.Deploying:
            return phase.setSource("DeployingPhase.qml", {model: model});
        case DeploySheetModel.Success:
            return phase.setSource("SuccessPhase.qml", {model: model});
        default:
            return phase.setSource("FailurePhase.qml", {model: model});
        }
    }

    function toBeSaid(): string {
        switch (model.phase) {
        case DeploySheetModel.Confirm:
            return model.nameStatusText;
        case DeploySheetModel.Deploying:
            return "";
        case DeploySheetModel.Success:
            return model.liveSite + " is live";
        default:
            return "Deploy failed. " + model.failure;
        }
    }

    // A figure in what is said of the name grows older; that is not said again.
    readonly property int nameStatus: model.nameStatus

    implicitHeight: phase.implicitHeight + (next.visible ? 12 + next.implicitHeight : 0)
    onNameStatusChanged: announcement.text = toBeSaid()
    Component.onCompleted: {
        announcement.text = toBeSaid();
        present();
    }

    Connections {
        target: phases.model

        function onPhaseChanged(): void {
            announcement.text = phases.toBeSaid();
            phases.present();
        }
        function onAftermathChanged(): void {
            if (phases.model.phase === DeploySheetModel.Failure && phases.model.aftermath !== DeploySheetModel.Asked
                && phases.model.aftermathText !== "") {
                announcement.text = (phases.model.aftermathText + " " + phases.model.aftermathAddress).trim();
            }
        }
        function onNextChanged(): void {
            if (phases.model.next !== "") {
                announcement.text = phases.model.next;
            }
        }
    }
    Announcement {
        id: announcement

        text: ""
    }
    Loader {
        id: phase

        anchors { left: parent.left; right: parent.right }
        focus: true
    }
    AppText {
        id: next

        anchors { top: phase.bottom; topMargin: 12 }
        width: parent.width
        visible: text !== ""
        elide: Text.ElideMiddle
        text: phases.model.next
        textStyle: TextStyle.Detail
        tone: Tone.Muted
    }
}
