import QtQuick
import Driftwell

// One deployment, from the confirmation of its name to its address.
Sheet {
    id: sheet

    required property DeploySheetModel model

    title: model.title
    // Success closes with Done alone, so that an Escape too many does not hide the address.
    onEscaped: {
        if (model.phase !== DeploySheetModel.Success) {
            model.close();
        }
    }

    DeployPhases {
        width: parent.width
        model: sheet.model
        focus: true
    }
}
