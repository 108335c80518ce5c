#include "ui/MainWindowModel.h"

#include "ui/ConnectionTexts.h"

#include <utility>

namespace driftwell {

using Kind = Connection::Status::Kind;

MainWindowModel::MainWindowModel(AppState& state, WindowServices& desktop)
    : m_state(state),
      m_desktop(desktop),
      m_toolbar(state, desktop, nullptr),
      m_siteList(state, desktop, nullptr),
      m_signIn(state, nullptr),
      m_content(content(state)) {
    connect(&state.connection(), &Connection::configChanged, this, &MainWindowModel::hostChanged);
    for (const auto signal : {&Connection::statusChanged, &Connection::configChanged}) {
        connect(&state.connection(), signal, this, &MainWindowModel::followStatus);
    }
    for (const auto signal : {&Catalog::sitesChanged, &Catalog::filterChanged}) {
        connect(&state.catalog(), signal, this, &MainWindowModel::followStatus);
    }
    connect(&state.gates(), &Gates::needsOnboardingChanged, this, &MainWindowModel::followStatus);
    for (const auto signal : {&SiteOperations::rollbackErrorChanged, &SiteOperations::deleteErrorChanged}) {
        connect(&state.siteOperations(), signal, this, &MainWindowModel::alertChanged);
    }
    connect(&state.deployments(), &Deployments::deployFlowChanged, this, &MainWindowModel::followDeployFlow);
    followDeployFlow();
}

MainWindowModel::~MainWindowModel() = default;

MainWindowModel::Content MainWindowModel::content(const AppState& state) {
    switch (state.connection().status().kind) {
    case Kind::NotTeam:
    case Kind::SignedOut:
        return Content::SignIn;
    case Kind::NoHost:
        return Content::NoHost;
    case Kind::Connected:
        return state.catalog().sites().isEmpty() && state.catalog().filter().isEmpty() ? Content::EmptyState
                                                                                       : Content::SiteList;
    case Kind::Connecting:
    case Kind::Unreachable:
        return Content::SiteList;
    }
    Q_UNREACHABLE();
}

void MainWindowModel::followStatus() {
    if (std::exchange(m_content, content(m_state)) != m_content) {
        Q_EMIT contentChanged();
    }
    Q_EMIT bannerChanged();
    Q_EMIT dropChanged();
}

void MainWindowModel::followDeployFlow() {
    const std::shared_ptr<DeployFlow> flow = m_state.deployments().deployFlow();
    // The view of the old model lets go of it first.
    const std::unique_ptr<DeploySheetModel> old =
        std::exchange(m_deploySheet, flow ? std::make_unique<DeploySheetModel>(flow, m_state, m_desktop) : nullptr);
    Q_EMIT deploySheetChanged();
}

QString MainWindowModel::host() const {
    return hostName(m_state);
}

QString MainWindowModel::exampleHost() {
    return QStringLiteral(DRIFTWELL_EXAMPLE_HOST);
}

bool MainWindowModel::isBannerVisible() const {
    return m_state.connection().status().kind == Kind::Unreachable;
}

QString MainWindowModel::bannerTitle() const {
    return QStringLiteral("Can’t reach ") + hostName(m_state);
}

QString MainWindowModel::retryText(int seconds) {
    return QStringLiteral("retrying in %1s · deploys are paused").arg(seconds);
}

QString MainWindowModel::bannerText() const {
    return retryText(m_state.connection().status().retryIn);
}

bool MainWindowModel::canDeploy() const {
    return driftwell::canDeploy(m_state);
}

void MainWindowModel::setDropTargeted(bool targeted) {
    if (std::exchange(m_dropTargeted, targeted) != targeted) {
        Q_EMIT dropChanged();
    }
}

QString MainWindowModel::alertTitle() const {
    if (m_state.siteOperations().rollbackError()) {
        return QStringLiteral("Rollback failed");
    }
    return m_state.siteOperations().deleteError() ? QStringLiteral("Delete failed") : QString();
}

QString MainWindowModel::alertText() const {
    return m_state.siteOperations().rollbackError().value_or(
        m_state.siteOperations().deleteError().value_or(QString()));
}

void MainWindowModel::dismissAlert() {
    if (m_state.siteOperations().rollbackError()) {
        m_state.siteOperations().clearRollbackError();
    } else {
        m_state.siteOperations().clearDeleteError();
    }
}

} // namespace driftwell
