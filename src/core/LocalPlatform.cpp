#include "core/LocalPlatform.h"

#include "core/Connection.h"
#include "desktop/DesktopServices.h"
#include "platform/ConfigStore.h"
#include "support/UnlessStopped.h"
#include "support/WhileAlive.h"
#include "tooling/LocalServerController.h"

#include <nlohmann/json.hpp>

#include <system_error>
#include <utility>

namespace driftwell {

namespace {

constexpr const char* marker = "packages/server/src/index.ts";
constexpr const char* localOrigin = "http://driftwell.localhost:8787";

} // namespace

LocalPlatform::LocalPlatform(const ConfigStore& store, Connection& connection, DesktopServices& desktop,
                             LocalServerController& server)
    : m_store(store), m_connection(connection), m_desktop(desktop), m_server(server) {
    connect(&connection, &Connection::localRepoChanged, this, &LocalPlatform::localRepoChanged);
}

LocalPlatform::~LocalPlatform() = default;

std::optional<std::filesystem::path> LocalPlatform::localRepo() const {
    return m_connection.localRepo();
}

void LocalPlatform::startIfConfigured() {
    const std::optional<PlatformConfig> config = m_connection.config();
    const std::optional<std::filesystem::path> repo = localRepo();
    if (config && config->isLocal() && repo) {
        m_tasks.run(m_server.start(*repo, config->origin()));
    }
}

void LocalPlatform::startOrChooseRepo() {
    const std::optional<PlatformConfig> config = m_connection.config();
    const std::optional<std::filesystem::path> repo = localRepo();
    if (config && repo) {
        m_tasks.run(m_server.start(*repo, config->origin()));
    } else {
        chooseRepoAndRunLocalPlatform();
    }
}

void LocalPlatform::chooseRepoAndRunLocalPlatform() {
    m_tasks.run(chooseRepo());
}

Task<> LocalPlatform::chooseRepo() {
    Task<std::optional<std::filesystem::path>> question = m_desktop.chooseFolder(
        QStringLiteral("Run Platform"),
        QStringLiteral("Choose your driftwell repo checkout — the app runs its dev server in the background"),
        localRepo());
    Task<std::optional<std::filesystem::path>> answer = unlessStopped(std::move(question), m_tasks.token());
    if (const std::optional<std::filesystem::path> repo = co_await whileAlive(this, std::move(answer))) {
        runLocalPlatform(*repo);
    }
}

void LocalPlatform::runLocalPlatform(const std::filesystem::path& repo) {
    std::error_code unreadable;
    if (!std::filesystem::exists(repo / marker, unreadable)) {
        m_localSetupError = QStringLiteral("%1 doesn’t look like the driftwell repo (%2 not found).")
                                .arg(QString::fromStdString(repo), QLatin1StringView(marker));
        return;
    }
    m_localSetupError = std::nullopt;
    nlohmann::json update{{"localRepo", repo.string()}};
    if (!m_connection.config()) {
        update["host"] = localOrigin;
    }
    try {
        m_store.saveConfig(update);
    } catch (const std::exception&) {
        // What cannot be remembered is asked for again.
    }
    m_connection.reloadConfig();
    if (const std::optional<PlatformConfig> config = m_connection.config()) {
        m_tasks.run(startAndRefresh(repo, config->origin()));
    }
}

Task<> LocalPlatform::startAndRefresh(std::filesystem::path repo, QString origin) {
    co_await whileAlive(this, m_server.start(std::move(repo), std::move(origin)));
    co_await whileAlive(this, m_connection.refresh(m_tasks.token()));
}

Task<> LocalPlatform::end() {
    return m_tasks.end();
}

} // namespace driftwell
