#include "ui/window/SiteSheets.h"

#include "core/AppState.h"
#include "core/Catalog.h"
#include "core/Collaboration.h"
#include "core/Connection.h"
#include "core/SiteOperations.h"

#include <utility>

namespace driftwell {

SiteSheets::SiteSheets(AppState& state, WindowServices& desktop, Sleeper sleep)
    : m_state(state), m_desktop(desktop), m_sleep(std::move(sleep)) {
    Collaboration& collaboration = state.collaboration();
    connect(&collaboration, &Collaboration::conflictTargetChanged, this, &SiteSheets::followConflict);
    for (const auto signal : {&Collaboration::attentionTargetChanged, &Collaboration::collabStatesChanged}) {
        connect(&collaboration, signal, this, &SiteSheets::followAttention);
    }
    connect(&state.catalog(), &Catalog::sitesChanged, this, &SiteSheets::followConflict);
    connect(&state.catalog(), &Catalog::sitesChanged, this, &SiteSheets::followAttention);
    connect(&state.connection(), &Connection::configChanged, this, &SiteSheets::closeAll);
    followConflict();
    followAttention();
}

template <class Model> void SiteSheets::replace(Model*& sheet, Model* next, void (SiteSheets::*changed)()) {
    Model* const old = std::exchange(sheet, next);
    if (old == next) {
        return;
    }
    Q_EMIT(this->*changed)();
    if (old != nullptr) {
        // What it still has to say is about a sheet that is closed.
        old->disconnect(this);
        // After its sheet, which is on its way out.
        old->deleteLater();
    }
}

void SiteSheets::showShare(const SiteInfo& site) {
    auto* const model = new ShareSheetModel(site,
                                            {.connection = m_state.connection(),
                                             .catalog = m_state.catalog(),
                                             .operations = m_state.siteOperations(),
                                             .collaboration = m_state.collaboration(),
                                             .client = m_state.client(),
                                             .desktop = m_desktop,
                                             .sleep = m_sleep},
                                            this);
    connect(model, &ShareSheetModel::closed, this, &SiteSheets::closeShare);
    replace(m_share, model, &SiteSheets::shareChanged);
}

void SiteSheets::followConflict() {
    Collaboration& collaboration = m_state.collaboration();
    const std::optional<QString> target = collaboration.conflictTarget();
    if (target && !m_state.catalog().existingSite(*target)) {
        collaboration.dismissConflict();
        return;
    }
    if (!target) {
        replace<ConflictSheetModel>(m_conflict, nullptr, &SiteSheets::conflictChanged);
    } else if (m_conflict == nullptr || m_conflict->site() != *target) {
        auto* const model = new ConflictSheetModel(*target,
                                                   {.connection = m_state.connection(),
                                                    .catalog = m_state.catalog(),
                                                    .collaboration = collaboration,
                                                    .client = m_state.client(),
                                                    .desktop = m_desktop,
                                                    .sleep = m_sleep},
                                                   this);
        connect(model, &ConflictSheetModel::closed, this, [&collaboration] { collaboration.dismissConflict(); });
        replace(m_conflict, model, &SiteSheets::conflictChanged);
    }
}

void SiteSheets::followAttention() {
    Collaboration& collaboration = m_state.collaboration();
    const std::optional<QString> target = collaboration.attentionTarget();
    if (!target) {
        replace<AttentionSheetModel>(m_attention, nullptr, &SiteSheets::attentionChanged);
        return;
    }
    const Collaboration::States states = collaboration.collabStates();
    const auto state = states.constFind(*target);
    const bool isThere = m_state.catalog().existingSite(*target) && state != states.constEnd();
    if (!isThere || state->kind != CollabState::Kind::NeedsAttention) {
        // The folder has been put right, or is nobody's any more.
        collaboration.dismissAttention();
    } else if (m_attention != nullptr && m_attention->site() == *target) {
        m_attention->setDetail(state->text);
    } else {
        auto* const model = new AttentionSheetModel(*target, state->text, m_state.client(), m_desktop, this);
        connect(model, &AttentionSheetModel::closed, this, [&collaboration] { collaboration.dismissAttention(); });
        replace(m_attention, model, &SiteSheets::attentionChanged);
    }
}

void SiteSheets::showHistory(const SiteInfo& site) {
    auto* const model =
        new VersionHistoryModel(site, m_state.connection(), m_state.catalog(), m_state.siteOperations(), this);
    connect(model, &VersionHistoryModel::closed, this, &SiteSheets::closeHistory);
    connect(model, &VersionHistoryModel::rollbackRequested, this, [this, site] {
        closeHistory();
        askToRollBack(site);
    });
    replace(m_history, model, &SiteSheets::historyChanged);
}

void SiteSheets::askToRollBack(const SiteInfo& site) {
    auto* const model =
        new RollbackConfirmModel(site, m_state.connection(), m_state.catalog(), m_state.siteOperations(), this);
    connect(model, &RollbackConfirmModel::closed, this, &SiteSheets::closeRollback);
    replace(m_rollback, model, &SiteSheets::rollbackChanged);
}

void SiteSheets::askToDelete(const SiteInfo& site) {
    auto* const model = new DeleteConfirmModel(site, m_state.siteOperations(), this);
    connect(model, &DeleteConfirmModel::closed, this, &SiteSheets::closeDeletion);
    replace(m_deletion, model, &SiteSheets::deletionChanged);
}

void SiteSheets::closeShare() {
    replace<ShareSheetModel>(m_share, nullptr, &SiteSheets::shareChanged);
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
    m_state.collaboration().dismissConflict();
    m_state.collaboration().dismissAttention();
    closeShare();
    closeHistory();
    closeRollback();
    closeDeletion();
}

} // namespace driftwell
