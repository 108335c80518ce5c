#pragma once

#include "platform/Models.h"
#include "support/Sleep.h"
#include "ui/collab/AttentionSheetModel.h"
#include "ui/collab/ConflictSheetModel.h"
#include "ui/history/DeleteConfirmModel.h"
#include "ui/history/RollbackConfirmModel.h"
#include "ui/history/VersionHistoryModel.h"
#include "ui/share/ShareSheetModel.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace driftwell {

class AppState;

/// The sheets that belong to one site: each has a model while it is on screen, and none otherwise. Another platform has
/// other sites, of which one may have the same name: nothing that was asked of one stays open for another.
class SiteSheets final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the window's model")
    Q_PROPERTY(driftwell::ShareSheetModel* share READ share NOTIFY shareChanged)
    Q_PROPERTY(driftwell::ConflictSheetModel* conflict READ conflict NOTIFY conflictChanged)
    Q_PROPERTY(driftwell::AttentionSheetModel* attention READ attention NOTIFY attentionChanged)
    Q_PROPERTY(driftwell::VersionHistoryModel* history READ history NOTIFY historyChanged)
    Q_PROPERTY(driftwell::RollbackConfirmModel* rollback READ rollback NOTIFY rollbackChanged)
    Q_PROPERTY(driftwell::DeleteConfirmModel* deletion READ deletion NOTIFY deletionChanged)

public:
    /// `state` and `desktop` outlive this.
    SiteSheets(AppState& state, WindowServices& desktop, Sleeper sleep);

    [[nodiscard]] ShareSheetModel* share() const { return m_share; }
    [[nodiscard]] ConflictSheetModel* conflict() const { return m_conflict; }
    [[nodiscard]] AttentionSheetModel* attention() const { return m_attention; }
    [[nodiscard]] VersionHistoryModel* history() const { return m_history; }
    [[nodiscard]] RollbackConfirmModel* rollback() const { return m_rollback; }
    [[nodiscard]] DeleteConfirmModel* deletion() const { return m_deletion; }

    void showShare(const SiteInfo& site);
    void showHistory(const SiteInfo& site);
    void askToRollBack(const SiteInfo& site);
    void askToDelete(const SiteInfo& site);

    // These do nothing when the sheet is not open.
    void closeShare();
    void closeHistory();

Q_SIGNALS:
    void shareChanged();
    void conflictChanged();
    void attentionChanged();
    void historyChanged();
    void rollbackChanged();
    void deletionChanged();

private:
    void closeAll();
    void closeRollback();
    void closeDeletion();
    /// Opens and closes the sheets that the model asks for.
    void followConflict();
    void followAttention();

    /// Another model for a sheet, or none.
    template <class Model> void replace(Model*& sheet, Model* next, void (SiteSheets::*changed)());

    AppState& m_state;
    WindowServices& m_desktop;
    Sleeper m_sleep;
    ShareSheetModel* m_share = nullptr;
    ConflictSheetModel* m_conflict = nullptr;
    AttentionSheetModel* m_attention = nullptr;
    VersionHistoryModel* m_history = nullptr;
    RollbackConfirmModel* m_rollback = nullptr;
    DeleteConfirmModel* m_deletion = nullptr;
};

} // namespace driftwell
