#include "ui/MainWindowModel.h"

#include "ui/ConnectionTexts.h"

#include <utility>

namespace driftwell {

using Kind = AppState::Status::Kind;

MainWindowModel::MainWindowModel(AppState& state, DesktopServices& desktop)
    : m_state(state),
      m_desktop(desktop),
      m_toolbar(state, desktop, nullptr),
      m_siteList(state, desktop, nullptr),
      m_signIn(state, nullptr),
      m_content(content(state)) {
    connect(&state, &AppState::configChanged, this, &MainWindowModel::hostChanged);
    for (const auto signal : {&AppState::statusChanged, &AppState::configChanged, &AppState::sitesChanged,
                              &AppState::filterChanged, &AppState::needsOnboardingChanged}) {
        connect(&state, signal, this, &MainWindowModel::followStatus);
    }
    for (const auto signal : {&AppState::rollbackErrorChanged, &AppState::deleteErrorChanged}) {
        connect(&state, signal, this, &MainWindowModel::alertChanged);
    }
    connect(&state, &AppState::deployFlowChanged, this, &MainWindowModel::followDeployFlow);
    followDeployFlow();
}

MainWindowModel::~MainWindowModel() = default;

MainWindowModel::Content MainWindowModel::content(const AppState& state) {
    switch (state.status().kind) {
    case Kind::NotTeam:
    case Kind::SignedOut:
        return Content::SignIn;
    case Kind::NoHost:
        return Content::NoHost;
    case Kind::Connected:
        return state.sites().isEmpty() && state.filter().isEmpty() ? Content::EmptyState : Content::SiteList;
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
    const std::shared_ptr<DeployFlow> flow = m_state.deployFlow();
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
    return m_state.status().kind == Kind::Unreachable;
}

QString MainWindowModel::bannerTitle() const {
    return QStringLiteral("Can’t reach ") + hostName(m_state);
}

QString MainWindowModel::retryText(int seconds) {
    return QStringLiteral("retrying in %1s · deploys are paused").arg(seconds);
}

QString MainWindowModel::bannerText() const {
    return retryText(m_state.status().retryIn);
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
    if (m_state.rollbackError()) {
        return QStringLiteral("Rollback failed");
    }
    return m_state.deleteError() ? QStringLiteral("Delete failed") : QString();
}

QString MainWindowModel::alertText() const {
    return m_state.rollbackError().value_or(m_state.deleteError().value_or(QString()));
}

void MainWindowModel::dismissAlert() {
    if (m_state.rollbackError()) {
        m_state.clearRollbackError();
    } else {
        m_state.clearDeleteError();
    }
}

} // namespace driftwell
