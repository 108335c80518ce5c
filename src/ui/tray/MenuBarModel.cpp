#include "ui/tray/MenuBarModel.h"

#include "core/SiteTexts.h"

namespace driftwell {

MenuBarModel::MenuBarModel(AppState& state) : m_state(state) {
    for (const auto signal :
         {&AppState::statusChanged, &AppState::configChanged, &AppState::identityChanged, &AppState::sitesChanged,
          &AppState::isDeployingChanged, &AppState::isSigningInChanged, &AppState::lastSyncChanged}) {
        connect(&state, signal, this, &MenuBarModel::changed);
    }
}

TrayFacts MenuBarModel::facts() const {
    return {.config = m_state.config(),
            .status = m_state.status(),
            .identity = m_state.identity(),
            .sites = m_state.sites().size(),
            .isDeploying = m_state.isDeploying(),
            .isSigningIn = m_state.isSigningIn()};
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
    return recentSites(m_state.recentSites(), m_state.deployingSiteName(), now);
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
    const QList<SiteInfo> sites = m_state.recentSites();
    if (row >= 0 && row < sites.size()) {
        m_state.openSite(sites[row]);
    }
}

void MenuBarModel::runAuthAction() {
    switch (authAction()) {
    case AuthAction::None:
        return;
    case AuthAction::SignIn:
        m_state.signIn();
        return;
    case AuthAction::SignOut:
        m_state.signOut();
        return;
    }
}

} // namespace driftwell
