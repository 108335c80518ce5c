pragma ComponentBehavior: Bound

import QtQuick
import Driftwell

// What a deployment shows in the phase that it is in.
Loader {
    id: phases

    required property DeploySheetModel model

    // In the order of DeploySheetModel's phases.
    readonly property list<Component> kinds: [
        Component {
            ConfirmPhase {
                model: phases.model
            }
        },
        Component {
            DeployingPhase {
                model: phases.model
            }
        },
        Component {
            SuccessPhase {
                model: phases.model
            }
        },
        Component {
            FailurePhase {
                model: phases.model
            }
        }
    ]

    sourceComponent: kinds[model.phase]
}
