#pragma once

#include "platform/Models.h"
#include "ui/history/DeleteConfirmModel.h"
#include "ui/history/RollbackConfirmModel.h"
#include "ui/history/VersionHistoryModel.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace driftwell {

class Catalog;
class Connection;
class SiteOperations;

/// The sheets that belong to one site: each has a model while it is on screen, and none otherwise. Another platform has
/// other sites, of which one may have the same name: nothing that was asked of one stays open for another.
class SiteSheets final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the window's model")
    Q_PROPERTY(driftwell::VersionHistoryModel* history READ history NOTIFY historyChanged)
    Q_PROPERTY(driftwell::RollbackConfirmModel* rollback READ rollback NOTIFY rollbackChanged)
    Q_PROPERTY(driftwell::DeleteConfirmModel* deletion READ deletion NOTIFY deletionChanged)

public:
    /// The parts outlive this.
    SiteSheets(Connection& connection, Catalog& catalog, SiteOperations& operations);

    [[nodiscard]] VersionHistoryModel* history() const { return m_history; }
    [[nodiscard]] RollbackConfirmModel* rollback() const { return m_rollback; }
    [[nodiscard]] DeleteConfirmModel* deletion() const { return m_deletion; }

    void showHistory(const SiteInfo& site);
    void askToRollBack(const SiteInfo& site);
    void askToDelete(const SiteInfo& site);

    /// Does nothing when it is not open.
    void closeHistory();

Q_SIGNALS:
    void historyChanged();
    void rollbackChanged();
    void deletionChanged();

private:
    void closeAll();
    void closeRollback();
    void closeDeletion();

    /// Another model for a sheet, or none.
    template <class Model> void replace(Model*& sheet, Model* next, void (SiteSheets::*changed)());

    Connection& m_connection;
    Catalog& m_catalog;
    SiteOperations& m_operations;
    VersionHistoryModel* m_history = nullptr;
    RollbackConfirmModel* m_rollback = nullptr;
    DeleteConfirmModel* m_deletion = nullptr;
};

} // namespace driftwell
