#include "ui/sites/SiteListModel.h"

#include "core/Catalog.h"
#include "core/Collaboration.h"
#include "core/Connection.h"
#include "core/ConnectionTexts.h"
#include "core/Deployments.h"
#include "core/Format.h"
#include "core/NewProject.h"
#include "core/SiteOperations.h"

#include <utility>

namespace driftwell {

SiteListModel::SiteListModel(Connection& connection, Catalog& catalog, Deployments& deployments,
                             SiteOperations& operations, Collaboration& collaboration, NewProject& newProject,
                             PlatformClient& client, WindowServices& desktop, QObject* parent)
    : QObject(parent),
      m_connection(connection),
      m_catalog(catalog),
      m_deployments(deployments),
      m_operations(operations),
      m_collaboration(collaboration),
      m_newProject(newProject),
      m_client(client),
      m_desktop(desktop),
      m_sites(connection, catalog, deployments, operations, collaboration, this) {
    // After the rows, whose number the texts tell.
    for (const auto signal : {&Catalog::sitesChanged, &Catalog::filterChanged}) {
        connect(&catalog, signal, this, &SiteListModel::textsChanged);
    }
    connect(&catalog, &Catalog::areSitesKnownChanged, this, &SiteListModel::textsChanged);
    for (const auto signal : {&Connection::statusChanged, &Connection::configChanged}) {
        connect(&connection, signal, this, &SiteListModel::pausedChanged);
    }
    connect(&connection, &Connection::statusChanged, this, &SiteListModel::followStatus);
    connect(&catalog, &Catalog::sortOrderChanged, this, &SiteListModel::sortOrderChanged);
    // What was asked for one platform or person is not for another.
    for (const auto signal : {&Connection::configChanged, &Connection::identityChanged}) {
        connect(&connection, signal, this, &SiteListModel::closeLogs);
    }
}

QString SiteListModel::subtitle(qsizetype shown, qsizetype total, const QString& filter) {
    const QString all = Format::counted(total, QStringLiteral("project"));
    return filter.isEmpty() ? all : QStringLiteral("%1 of %2").arg(shown).arg(all);
}

void SiteListModel::followStatus() {
    if (!m_catalog.areSitesKnown()) {
        Q_EMIT textsChanged();
    }
}

bool SiteListModel::isLoading() const {
    return !m_catalog.areSitesKnown() && m_connection.status().kind == ConnectionStatus::Kind::Connecting;
}

QString SiteListModel::subtitle() const {
    if (!m_catalog.areSitesKnown()) {
        return isLoading() ? QStringLiteral("Loading projects…") : QStringLiteral("Not loaded yet");
    }
    return subtitle(m_sites.rowCount(), m_catalog.sites().size(), m_catalog.filter());
}

QString SiteListModel::nothingMatches() const {
    return m_sites.rowCount() > 0 || m_catalog.filter().isEmpty() || !m_catalog.areSitesKnown()
               ? QString()
               : QStringLiteral("No projects match “%1”").arg(m_catalog.filter());
}

bool SiteListModel::isPaused() const {
    return !acceptsDeploys(m_connection.config(), m_connection.status());
}

QString SiteListModel::dropHint() const {
    return pausedText(m_connection.config(), m_connection.status())
        .value_or(QStringLiteral("Drag a folder here to publish a new project"));
}

bool SiteListModel::isSortedByName() const {
    return m_catalog.sortOrder() == SortOrder::Name;
}

void SiteListModel::sortByName() {
    m_catalog.setSortOrder(SortOrder::Name);
}

void SiteListModel::sortByTime() {
    m_catalog.setSortOrder(SortOrder::MostRecent);
}

void SiteListModel::chooseFolderAndDeploy() {
    m_newProject.chooseFolderAndDeploy();
}

void SiteListModel::refresh() {
    m_connection.refresh();
}

void SiteListModel::open(const QString& name) {
    if (const std::optional<SiteInfo> site = m_catalog.existingSite(name)) {
        m_operations.openSite(*site);
    }
}

void SiteListModel::copyLink(const QString& name) {
    if (const std::optional<SiteInfo> site = m_catalog.existingSite(name)) {
        m_desktop.copyText(site->url);
    }
}

bool SiteListModel::hasFolder(const QString& name) const {
    return m_catalog.existingSite(name) && m_operations.hasFolder(name);
}

void SiteListModel::revealFolder(const QString& name) {
    if (m_catalog.existingSite(name)) {
        m_operations.revealFolder(name);
    }
}

void SiteListModel::publishAgain(const QString& name) {
    if (m_catalog.existingSite(name)) {
        m_deployments.publishAgain(name);
    }
}

bool SiteListModel::canRollBack(const QString& name) const {
    const std::optional<SiteInfo> site = m_catalog.existingSite(name);
    return site && site->hasPrevious;
}

std::optional<CollabState::Kind> SiteListModel::folderState(const QString& name) const {
    const Collaboration::States states = m_collaboration.collabStates();
    const auto found = states.constFind(name);
    return m_catalog.existingSite(name) && found != states.constEnd() ? std::optional(found->kind) : std::nullopt;
}

bool SiteListModel::canUpdateFolder(const QString& name) const {
    return folderState(name) == CollabState::Kind::UpdatesAvailable;
}

void SiteListModel::updateFolder(const QString& name) {
    if (canUpdateFolder(name)) {
        detach(m_collaboration.updateFolder(name));
    }
}

void SiteListModel::showFolderState(const QString& name) {
    const std::optional<CollabState::Kind> state = folderState(name);
    if (state == CollabState::Kind::Conflict) {
        m_collaboration.showConflict(name);
    } else if (state == CollabState::Kind::NeedsAttention) {
        m_collaboration.showAttention(name);
    }
}

void SiteListModel::settleFolder(const QString& name) {
    showFolderState(name);
    updateFolder(name);
}

void SiteListModel::share(const QString& name) {
    if (const std::optional<SiteInfo> site = m_catalog.existingSite(name)) {
        Q_EMIT shareRequested(*site);
    }
}

void SiteListModel::showHistory(const QString& name) {
    if (const std::optional<SiteInfo> site = m_catalog.existingSite(name)) {
        Q_EMIT historyRequested(*site);
    }
}

void SiteListModel::askToRollBack(const QString& name) {
    if (const std::optional<SiteInfo> site = m_catalog.existingSite(name)) {
        Q_EMIT rollbackRequested(*site);
    }
}

void SiteListModel::askToDelete(const QString& name) {
    if (const std::optional<SiteInfo> site = m_catalog.existingSite(name)) {
        Q_EMIT deletionRequested(*site);
    }
}

void SiteListModel::showLogs(const QString& name) {
    if (m_catalog.existingSite(name)) {
        auto* const logs = new LogsModel(name, m_client, m_connection, this);
        connect(logs, &LogsModel::closed, this, &SiteListModel::closeLogs);
        replaceLogs(logs);
    }
}

void SiteListModel::closeLogs() {
    if (m_logs != nullptr) {
        replaceLogs(nullptr);
    }
}

void SiteListModel::replaceLogs(LogsModel* logs) {
    LogsModel* const old = std::exchange(m_logs, logs);
    Q_EMIT logsChanged();
    if (old != nullptr) {
        // After its popover, which is on its way out.
        old->deleteLater();
    }
}

} // namespace driftwell
