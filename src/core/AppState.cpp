#include "core/AppState.h"

#include "core/Catalog.h"
#include "core/Connection.h"
#include "core/Deployments.h"
#include "core/Gates.h"
#include "core/NewProject.h"
#include "core/SignIn.h"
#include "core/SiteOperations.h"
#include "platform/PlatformClient.h"

#include <utility>
#include <vector>

namespace driftwell {

AppState::AppState(std::unique_ptr<PlatformClient> client, DesktopServices& desktop,
                   std::unique_ptr<QSettings> defaults, Sleeper sleep)
    : m_client(std::move(client)),
      m_catalog(std::make_unique<Catalog>()),
      m_connection(std::make_unique<Connection>(*m_client, *m_catalog, sleep)),
      m_gates(std::make_unique<Gates>(std::move(defaults))),
      m_siteOperations(std::make_unique<SiteOperations>(*m_client, *m_connection, *m_catalog, desktop)),
      m_signIn(std::make_unique<SignIn>(*m_client, *m_connection, desktop, sleep)) {
    const auto followUp = [operations = m_siteOperations.get()](QString site, std::stop_token stop) {
        return operations->followNewVersion(std::move(site), std::move(stop));
    };
    m_deployments = std::make_unique<Deployments>(*m_client, *m_connection, followUp);
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
    m_connection->start();
}

Task<> AppState::end() {
    // All are stopped before the first is awaited. What uses another part ends before it, here and below.
    std::vector<Task<>> ends;
    ends.push_back(m_signIn->end());
    ends.push_back(m_newProject->end());
    ends.push_back(m_deployments->end());
    ends.push_back(m_siteOperations->end());
    ends.push_back(m_connection->end());
    for (Task<>& ended : ends) {
        co_await ended;
    }
}

} // namespace driftwell
