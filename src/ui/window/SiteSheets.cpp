#include "ui/window/SiteSheets.h"

#include "core/Connection.h"

#include <utility>

namespace driftwell {

SiteSheets::SiteSheets(Connection& connection, Catalog& catalog, SiteOperations& operations)
    : m_connection(connection), m_catalog(catalog), m_operations(operations) {
    connect(&connection, &Connection::configChanged, this, &SiteSheets::closeAll);
}

template <class Model> void SiteSheets::replace(Model*& sheet, Model* next, void (SiteSheets::*changed)()) {
    Model* const old = std::exchange(sheet, next);
    if (old == next) {
        return;
    }
    Q_EMIT(this->*changed)();
    if (old != nullptr) {
        // After its sheet, which is on its way out.
        old->deleteLater();
    }
}

void SiteSheets::showHistory(const SiteInfo& site) {
    auto* const model = new VersionHistoryModel(site, m_connection, m_catalog, m_operations, this);
    connect(model, &VersionHistoryModel::closed, this, &SiteSheets::closeHistory);
    connect(model, &VersionHistoryModel::rollbackRequested, this, [this, site] {
        closeHistory();
        askToRollBack(site);
    });
    replace(m_history, model, &SiteSheets::historyChanged);
}

void SiteSheets::askToRollBack(const SiteInfo& site) {
    auto* const model = new RollbackConfirmModel(site, m_connection, m_catalog, m_operations, this);
    connect(model, &RollbackConfirmModel::closed, this, &SiteSheets::closeRollback);
    replace(m_rollback, model, &SiteSheets::rollbackChanged);
}

void SiteSheets::askToDelete(const SiteInfo& site) {
    auto* const model = new DeleteConfirmModel(site, m_operations, this);
    connect(model, &DeleteConfirmModel::closed, this, &SiteSheets::closeDeletion);
    replace(m_deletion, model, &SiteSheets::deletionChanged);
}

void SiteSheets::closeHistory() {
    replace<VersionHistoryModel>(m_history, nullptr, &SiteSheets::historyChanged);
}

void SiteSheets::closeRollback() {
    replace<RollbackConfirmModel>(m_rollback, nullptr, &SiteSheets::rollbackChanged);
}

void SiteSheets::closeDeletion() {
    replace<DeleteConfirmModel>(m_deletion, nullptr, &SiteSheets::deletionChanged);
}

void SiteSheets::closeAll() {
    closeHistory();
    closeRollback();
    closeDeletion();
}

} // namespace driftwell
