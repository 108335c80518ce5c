#include "ui/tray/MenuBarModel.h"

#include "core/Catalog.h"
#include "core/Connection.h"
#include "core/ConnectionTexts.h"
#include "core/Deployments.h"
#include "core/SignIn.h"
#include "core/SiteOperations.h"
#include "core/SiteTexts.h"
#include "tooling/LocalServerController.h"
#include "tooling/Updater.h"

namespace driftwell {

MenuBarModel::MenuBarModel(Connection& connection, Catalog& catalog, Deployments& deployments,
                           SiteOperations& operations, SignIn& signIn, LocalServerController& localServer,
                           Updater& updater)
    : m_connection(connection),
      m_catalog(catalog),
      m_deployments(deployments),
      m_operations(operations),
      m_signIn(signIn),
      m_localServer(localServer),
      m_updater(updater) {
    for (const auto signal : {&Connection::statusChanged, &Connection::configChanged, &Connection::identityChanged,
                              &Connection::lastSyncChanged}) {
        connect(&connection, signal, this, &MenuBarModel::changed);
    }
    connect(&catalog, &Catalog::sitesChanged, this, &MenuBarModel::changed);
    connect(&deployments, &Deployments::isDeployingChanged, this, &MenuBarModel::changed);
    connect(&signIn, &SignIn::isSigningInChanged, this, &MenuBarModel::changed);
    connect(&localServer, &LocalServerController::phaseChanged, this, &MenuBarModel::changed);
    connect(&updater, &Updater::canCheckChanged, this, &MenuBarModel::changed);
}

TrayFacts MenuBarModel::facts() const {
    return {.config = m_connection.config(),
            .status = m_connection.status(),
            .identity = m_connection.identity(),
            .sites = m_catalog.sites().size(),
            .isDeploying = m_deployments.isDeploying(),
            .isSigningIn = m_signIn.isSigningIn(),
            .localServerRuns = m_localServer.phase() == LocalServerPhase::running()};
}

QList<RecentSite> MenuBarModel::recentSites(const QList<SiteInfo>& sites, const std::optional<QString>& deploying,
                                            Timestamp now) {
    QList<RecentSite> rows;
    for (const SiteInfo& site : sites) {
        rows.append({.name = site.name, .age = shortSiteAge(site, now), .deploying = deploying == site.name});
    }
    return rows;
}

QList<RecentSite> MenuBarModel::recentSites(Timestamp now) const {
    QList<RecentSite> rows = recentSites(m_catalog.recentSites(), m_deployments.deployingSiteName(), now);
    const bool isPossible = acceptsDeploys(m_connection.config(), m_connection.status()) && !m_deployments.isTaken();
    const QSet<QString> known = isPossible ? m_operations.sitesWithFolder() : QSet<QString>();
    for (RecentSite& row : rows) {
        row.publishable = known.contains(row.name);
    }
    return rows;
}

QVariantList MenuBarModel::recentSiteRows() const {
    QVariantList rows;
    const QList<RecentSite> sites = recentSites(now());
    for (const RecentSite& site : sites) {
        rows.append(QVariant::fromValue(site));
    }
    return rows;
}

void MenuBarModel::openSite(int row) {
    const QList<SiteInfo> sites = m_catalog.recentSites();
    if (row >= 0 && row < sites.size()) {
        m_operations.openSite(sites[row]);
    }
}

void MenuBarModel::publishAgain(int row) {
    const QList<SiteInfo> sites = m_catalog.recentSites();
    if (row >= 0 && row < sites.size()) {
        m_deployments.publishAgain(sites[row].name);
        Q_EMIT windowRequested();
    }
}

void MenuBarModel::runAuthAction() {
    switch (authAction()) {
    case AuthAction::None:
        return;
    case AuthAction::SignIn:
        m_signIn.signIn();
        return;
    case AuthAction::SignOut:
        if (!m_askBeforeSignOut || !m_askBeforeSignOut()) {
            m_signIn.signOut();
        }
        return;
    }
}

bool MenuBarModel::updatesEnabled() const {
    return m_updater.isEnabled();
}

bool MenuBarModel::canCheckForUpdates() const {
    return m_updater.canCheck();
}

void MenuBarModel::checkForUpdates() {
    m_updater.checkForUpdates();
}

} // namespace driftwell
