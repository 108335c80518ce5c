import QtQuick
import Driftwell

// One deployment, from the confirmation of its name to its address.
Sheet {
    id: sheet

    required property DeploySheetModel model

    title: model.title

    contentItem: FocusScope {
        implicitHeight: phase.item ? phase.item.implicitHeight : 0
        focus: true
        Keys.onEscapePressed: sheet.leave()

        Loader {
            id: phase

            anchors { left: parent.left; right: parent.right }
            focus: true
            sourceComponent: switch (sheet.model.phase) {
                case DeploySheetModel.Confirm: return confirm;
                case DeploySheetModel.Deploying: return deploying;
                case DeploySheetModel.Success: return success;
                default: return failure;
            }
        }
    }

    // Success closes with Done alone, so that an Escape too many does not hide the address.
    function leave(): void {
        if (model.phase !== DeploySheetModel.Success) {
            model.close();
        }
    }

    Component {
        id: confirm

        ConfirmPhase { model: sheet.model }
    }
    Component {
        id: deploying

        DeployingPhase { model: sheet.model }
    }
    Component {
        id: success

        SuccessPhase { model: sheet.model }
    }
    Component {
        id: failure

        FailurePhase { model: sheet.model }
    }
}
