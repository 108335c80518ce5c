#include "core/AppState.h"

#include "collab/AgentScaffold.h"
#include "core/AppSystem.h"
#include "core/Catalog.h"
#include "core/Collaboration.h"
#include "core/Connection.h"
#include "core/DeepLinks.h"
#include "core/Deployments.h"
#include "core/Gates.h"
#include "core/LocalPlatform.h"
#include "core/NewProject.h"
#include "core/SignIn.h"
#include "core/SiteOperations.h"
#include "desktop/DesktopServices.h"
#include "platform/PlatformClient.h"

#include <utility>
#include <vector>

namespace driftwell {

AppState::AppState(std::unique_ptr<PlatformClient> client, DesktopServices& desktop,
                   std::unique_ptr<QSettings> defaults)
    : AppState(std::move(client), desktop, std::move(defaults), AppSystem()) {}

AppState::AppState(std::unique_ptr<PlatformClient> client, DesktopServices& desktop,
                   std::unique_ptr<QSettings> defaults, AppSystem system)
    : m_desktop(desktop),
      m_client(std::move(client)),
      m_cli(std::make_unique<CLIInstaller>(m_client->bundle(), system.cli)),
      m_localServer(std::make_unique<LocalServerController>(system.localServer)),
      m_catalog(std::make_unique<Catalog>()),
      m_connection(std::make_unique<Connection>(*m_client, *m_catalog, system.sleep)),
      m_gates(std::make_unique<Gates>(std::move(defaults), system.gitToolsInstalled, system.sleep)),
      m_localPlatform(std::make_unique<LocalPlatform>(m_client->store(), *m_connection, desktop, *m_localServer)),
      m_siteOperations(std::make_unique<SiteOperations>(*m_client, *m_connection, *m_catalog, desktop)),
      m_collaboration(std::make_unique<Collaboration>(
          *m_client, *m_connection, *m_catalog, *m_gates,
          [&desktop](const std::filesystem::path& folder) { desktop.showInFileManager(folder); }, system.sleep)),
      m_signIn(std::make_unique<SignIn>(*m_client, *m_connection, desktop, system.sleep)) {
    m_connection->bootWith(*m_localServer);
    m_connection->followRefreshWith([collaboration = m_collaboration.get()](std::stop_token stop) {
        return collaboration->refreshCollabStates(std::move(stop));
    });
    const auto followUp = [operations = m_siteOperations.get()](QString site, std::stop_token stop) {
        return operations->followNewVersion(std::move(site), std::move(stop));
    };
    const auto writeAgentFiles = [client = m_client.get()](std::filesystem::path folder, PlatformConfig config,
                                                           std::stop_token stop) {
        return AgentScaffold::write(std::move(folder), Git::Access::of(config, client->store()), client->helpers(),
                                    std::move(stop));
    };
    Deployments::Surroundings surroundings{followUp, writeAgentFiles, m_collaboration->linkedRoad(), system.sleep};
    const auto openForEditing = [collaboration = m_collaboration.get()](const QString& site) {
        collaboration->cloneFromDeepLink(site);
    };
    const auto refuseLink = [collaboration = m_collaboration.get()](const QString& reason) {
        collaboration->report(reason);
    };
    m_deepLinks =
        std::make_unique<DeepLinks>(m_client->urlScheme(), *m_connection, *m_gates, openForEditing, refuseLink);
    m_deployments = std::make_unique<Deployments>(*m_client, *m_connection, *m_catalog, std::move(surroundings));
    const auto begin = [deployments = m_deployments.get()](const std::filesystem::path& folder) {
        deployments->beginDeploy(folder);
    };
    const auto isTaken = [deployments = m_deployments.get()] {
        return deployments->isTaken();
    };
    m_newProject = std::make_unique<NewProject>(*m_connection, *m_gates, desktop, begin, isTaken);
    // Later: the one that is closed goes before the next comes.
    QObject::connect(m_deployments.get(), &Deployments::deployFlowChanged, m_newProject.get(),
                     &NewProject::deployWaiting, Qt::QueuedConnection);
}

AppState::~AppState() = default;

void AppState::start() {
    if (std::exchange(m_started, true)) {
        return;
    }
    m_connection->reloadConfig();
    m_localPlatform->startIfConfigured();
    m_connection->start();
    m_cli->detect();
}

Task<> AppState::end() {
    // All are stopped before the first is awaited. What uses another part ends before it, here and below.
    std::vector<Task<>> ends;
    ends.push_back(m_signIn->end());
    ends.push_back(m_newProject->end());
    ends.push_back(m_deployments->end());
    ends.push_back(m_collaboration->end());
    ends.push_back(m_siteOperations->end());
    ends.push_back(m_localPlatform->end());
    ends.push_back(m_gates->end());
    ends.push_back(m_connection->end());
    ends.push_back(m_localServer->end());
    ends.push_back(m_cli->end());
    for (Task<>& ended : ends) {
        co_await ended;
    }
}

} // namespace driftwell
