import QtQuick
import Driftwell

// One deployment, from the confirmation of its name to its address.
Sheet {
    id: sheet

    required property DeploySheetModel model

    // Success closes with Done alone, so that an Escape too many does not hide the address.
    function leave(): void {
        if (model.phase !== DeploySheetModel.Success) {
            model.close();
        }
    }

    title: model.title

    contentItem: DeployPhases {
        model: sheet.model
        focus: true
        Keys.onEscapePressed: sheet.leave()
    }
}
