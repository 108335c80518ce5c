import QtQuick
import Driftwell

// The switch for starting at login.
DWToggleStyle {
    id: toggle

    required property LaunchAtLogin model

    checked: model.enabled
    onToggled: {
        toggle.model.enabled = checked;
        // A change that failed puts the switch back.
        checked = Qt.binding(() => toggle.model.enabled);
    }
}
