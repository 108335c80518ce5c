import QtQuick
import Driftwell

// Every sheet of the window, and what asks for it.
SheetHost {
    id: sheets

    required property MainWindowModel model

    SheetEntry {
        target: sheets.model.deploySheet

        DeploySheet {}
    }
    SheetEntry {
        target: sheets.model.siteSheets.share

        ShareSheet {}
    }
    SheetEntry {
        target: sheets.model.siteSheets.conflict

        ConflictSheet {}
    }
    SheetEntry {
        target: sheets.model.siteSheets.attention

        AttentionSheet {}
    }
    SheetEntry {
        target: sheets.model.siteSheets.history

        VersionHistorySheet {}
    }
    SheetEntry {
        target: sheets.model.siteSheets.rollback

        RollbackConfirmSheet {}
    }
    SheetEntry {
        target: sheets.model.siteSheets.deletion

        DeleteConfirmSheet {}
    }
    SheetEntry {
        target: sheets.model.gitInstall

        GitInstallSheet {}
    }
    SheetEntry {
        target: sheets.model.question

        WorkQuestionSheet {}
    }
    SheetEntry {
        target: sheets.model.keys

        KeysSheet {}
    }
    SheetEntry {
        target: sheets.model.alert

        AlertSheet {}
    }
}
