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

    implicitHeight: phase.implicitHeight
    Component.onCompleted: present()

    Connections {
        target: phases.model

        function onPhaseChanged(): void {
            phases.present();
        }
    }
    Loader {
        id: phase

        anchors { left: parent.left; right: parent.right }
        focus: true
    }
}
