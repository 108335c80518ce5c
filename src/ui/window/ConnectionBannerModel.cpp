#include "ui/window/ConnectionBannerModel.h"

#include "core/Connection.h"
#include "core/ConnectionTexts.h"
#include "core/LocalPlatform.h"
#include "tooling/LocalServerController.h"

namespace driftwell {

namespace {

bool isOutOfReach(const ConnectionStatus& status) {
    return status.kind == ConnectionStatus::Kind::Unreachable;
}

} // namespace

ConnectionBannerModel::ConnectionBannerModel(Connection& connection, LocalPlatform& localPlatform,
                                             LocalServerController& server, QObject* parent)
    : QObject(parent), m_connection(connection), m_localPlatform(localPlatform), m_server(server) {
    for (const auto signal : {&Connection::statusChanged, &Connection::configChanged, &Connection::outageChanged,
                              &Connection::isRetryingChanged}) {
        connect(&connection, signal, this, &ConnectionBannerModel::changed);
    }
    connect(&localPlatform, &LocalPlatform::localRepoChanged, this, &ConnectionBannerModel::changed);
    connect(&server, &LocalServerController::phaseChanged, this, &ConnectionBannerModel::changed);
}

bool ConnectionBannerModel::isVisible(const ConnectionStatus& status, const Phase& phase) {
    return isOutOfReach(status) || phase.isComingUp();
}

QString ConnectionBannerModel::title(const Phase& phase, const Config& config) {
    switch (phase.kind) {
    case Phase::Kind::Idle:
    case Phase::Kind::Running:
        return unreachableText(config);
    case Phase::Kind::Building:
    case Phase::Kind::Starting:
        return QStringLiteral("Starting local platform");
    case Phase::Kind::Failed:
        return QStringLiteral("Local platform failed");
    }
    Q_UNREACHABLE();
}

QString ConnectionBannerModel::text(const Phase& phase, const Config& config, int retryIn) {
    switch (phase.kind) {
    case Phase::Kind::Idle:
    case Phase::Kind::Running:
        return retryText(retryIn);
    case Phase::Kind::Building:
        return QStringLiteral("building platform packages…");
    case Phase::Kind::Starting:
        return QStringLiteral("waiting for ") + hostName(config);
    case Phase::Kind::Failed:
        return phase.text;
    }
    Q_UNREACHABLE();
}

QString ConnectionBannerModel::spoken(const Phase& phase, const Config& config) {
    const bool isCountedDown = phase.kind == Phase::Kind::Idle || phase.kind == Phase::Kind::Running;
    return isCountedDown ? QStringLiteral("deploys are paused") : text(phase, config, 0);
}

bool ConnectionBannerModel::isBootOffered(const Phase& phase, const Config& config) {
    return config && config->isLocal() && (phase.kind == Phase::Kind::Idle || phase.kind == Phase::Kind::Failed);
}

bool ConnectionBannerModel::isRetried(const ConnectionStatus& status, const Phase& phase) {
    return isOutOfReach(status) && (phase.kind == Phase::Kind::Idle || phase.kind == Phase::Kind::Running);
}

bool ConnectionBannerModel::isVisible() const {
    return isVisible(m_connection.status(), m_server.phase());
}

bool ConnectionBannerModel::isWaiting() const {
    return m_server.phase().isComingUp();
}

QString ConnectionBannerModel::title() const {
    return title(m_server.phase(), m_connection.config());
}

QString ConnectionBannerModel::text() const {
    const ConnectionStatus status = m_connection.status();
    return text(m_server.phase(), m_connection.config(), isOutOfReach(status) ? status.retryIn : 0);
}

QString ConnectionBannerModel::reason() const {
    return isRetryOffered() ? outageText(m_connection.config(), m_connection.outage()) : QString();
}

bool ConnectionBannerModel::isRetryOffered() const {
    return isRetried(m_connection.status(), m_server.phase());
}

bool ConnectionBannerModel::isRetrying() const {
    return m_connection.isRetrying();
}

bool ConnectionBannerModel::isPlatformChangeOffered() const {
    return isOutOfReach(m_connection.status()) && !m_connection.wasReached();
}

QString ConnectionBannerModel::spoken() const {
    return spoken(m_server.phase(), m_connection.config());
}

QString ConnectionBannerModel::offer() const {
    if (!isBootOffered(m_server.phase(), m_connection.config())) {
        return {};
    }
    return m_localPlatform.localRepo() ? QStringLiteral("Start local platform") : QStringLiteral("Run locally…");
}

void ConnectionBannerModel::acceptOffer() {
    m_localPlatform.startOrChooseRepo();
}

void ConnectionBannerModel::retryNow() {
    m_connection.retryNow();
}

} // namespace driftwell
