#include "core/AppState.h"

#include "core/Gates.h"

#include <QPointer>

#include <nlohmann/json.hpp>

#include <algorithm>

namespace driftwell {

AppState::AppState(std::unique_ptr<PlatformClient> client, DesktopServices& desktop,
                   std::unique_ptr<QSettings> defaults, Sleeper sleep)
    : m_client(std::move(client)),
      m_desktop(desktop),
      m_sleep(std::move(sleep)),
      m_defaults(std::move(defaults)),
      m_needsOnboarding(wantsOnboarding(*m_defaults)) {
    connect(this, &AppState::deployFlowChanged, this, &AppState::isDeployingChanged);
}

AppState::~AppState() {
    // Before the client goes: what is stopped does not touch it again.
    requestStop();
}

void AppState::requestStop() {
    m_lifetime.request_stop();
    if (m_deployTask) {
        m_deployTask->request_stop();
    }
    if (m_signInTask) {
        m_signInTask->request_stop();
    }
}

Task<> AppState::end() {
    const QPointer<AppState> self(this);
    requestStop();
    co_await endDeployments();
    if (self) {
        co_await m_background.ended();
    }
}

void AppState::start() {
    if (m_started) {
        return;
    }
    m_started = true;
    reloadConfig();
    m_background.run(refreshLoop(lifetime()));
}

void AppState::reloadConfig() {
    const ConfigStore& store = m_client->store();
    const std::optional<QString> host = store.resolveHost();
    m_config = host ? std::optional<PlatformConfig>(*host) : std::nullopt;
    m_status = host ? Status::connecting() : Status::noHost();
    const std::optional<QString> repo = store.localRepoPath();
    m_localRepo = repo ? std::optional<std::filesystem::path>(repo->toStdString()) : std::nullopt;
}

void AppState::setHost(const QString& host) {
    const QString trimmed = host.trimmed();
    if (trimmed.isEmpty()) {
        return;
    }
    try {
        m_client->store().saveConfig({{"host", trimmed.toStdString()}});
    } catch (const std::exception&) {
        // The platform holds for this run and is forgotten at the next start.
    }
    m_config = PlatformConfig(trimmed);
    m_status = Status::connecting();
    m_background.run(refresh(lifetime()));
}

void AppState::clearPlatformData() {
    m_sites = QList<SiteInfo>();
    m_libs = QList<LibInfo>();
    m_stats = std::nullopt;
    m_deployHistory = DeployHistory();
    m_known = {};
}

SiteLists& AppState::siteLists() const {
    const QList<SiteInfo> sites = m_sites;
    if (!m_siteLists.areOf(sites)) {
        m_siteLists = SiteLists(sites);
    }
    return m_siteLists;
}

QList<SiteInfo> AppState::filteredSites() const {
    return siteLists().filtered(m_filter, m_sortOrder);
}

QList<SiteInfo> AppState::recentSites() const {
    return siteLists().recent();
}

bool AppState::isDeploying() const {
    const std::shared_ptr<DeployFlow> flow = m_deployFlow;
    return flow && flow->isDeploying();
}

std::optional<QString> AppState::deployingSiteName() const {
    return isDeploying() ? std::optional(deployFlow()->siteName()) : std::nullopt;
}

std::optional<SiteInfo> AppState::existingSite(const QString& name) const {
    const QList<SiteInfo> sites = m_sites;
    const auto found =
        std::find_if(sites.begin(), sites.end(), [&name](const SiteInfo& site) { return site.name == name; });
    return found == sites.end() ? std::nullopt : std::optional(*found);
}

} // namespace driftwell
