#include "ui/window/MainWindowModel.h"

#include "core/ConnectionTexts.h"

#include <utility>

namespace driftwell {

using Kind = AppState::Status::Kind;

MainWindowModel::MainWindowModel(AppState& state, DesktopServices& desktop)
    : m_state(state),
      m_desktop(desktop),
      m_toolbar(state, nullptr),
      m_siteList(state, desktop, nullptr),
      m_signIn(state, nullptr),
      m_content(presentContent()) {
    connect(&state, &AppState::configChanged, this, &MainWindowModel::hostChanged);
    for (const auto signal : {&AppState::statusChanged, &AppState::configChanged, &AppState::sitesChanged,
                              &AppState::filterChanged, &AppState::needsOnboardingChanged}) {
        connect(&state, signal, this, &MainWindowModel::followStatus);
    }
    listAlerts();
    connect(&state, &AppState::deployFlowChanged, this, &MainWindowModel::followDeployFlow);
    followDeployFlow();
}

MainWindowModel::~MainWindowModel() = default;

void MainWindowModel::listAlerts() {
    m_alerts.add(m_state, &AppState::rollbackErrorChanged,
                 {.title = QStringLiteral("Rollback failed"),
                  .text = [this] { return m_state.rollbackError(); },
                  .dismiss =
                      [this] {
                          m_state.clearRollbackError();
                      }});
    m_alerts.add(m_state, &AppState::deleteErrorChanged,
                 {.title = QStringLiteral("Delete failed"),
                  .text = [this] { return m_state.deleteError(); },
                  .dismiss =
                      [this] {
                          m_state.clearDeleteError();
                      }});
    connect(&m_alerts, &Alerts::changed, this, &MainWindowModel::alertChanged);
}

MainWindowModel::Content MainWindowModel::content(Kind status, bool hasSites, bool isFiltered) {
    switch (status) {
    case Kind::NotTeam:
    case Kind::SignedOut:
        return Content::SignIn;
    case Kind::NoHost:
        return Content::NoHost;
    case Kind::Connected:
        return hasSites || isFiltered ? Content::SiteList : Content::EmptyState;
    case Kind::Connecting:
    case Kind::Unreachable:
        return Content::SiteList;
    }
    Q_UNREACHABLE();
}

MainWindowModel::Content MainWindowModel::presentContent() const {
    return content(m_state.status().kind, !m_state.sites().isEmpty(), !m_state.filter().isEmpty());
}

void MainWindowModel::followStatus() {
    if (std::exchange(m_content, presentContent()) != m_content) {
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
    return hostName(m_state.config());
}

QString MainWindowModel::exampleHost() {
    return QStringLiteral(DRIFTWELL_EXAMPLE_HOST);
}

bool MainWindowModel::isBannerVisible() const {
    return m_state.status().kind == Kind::Unreachable;
}

QString MainWindowModel::bannerTitle() const {
    return unreachableText(m_state.config());
}

QString MainWindowModel::bannerText() const {
    return retryText(m_state.status().retryIn);
}

bool MainWindowModel::canDeploy() const {
    return !m_state.needsOnboarding() && acceptsDeploys(m_state.config(), m_state.status());
}

void MainWindowModel::setDropTargeted(bool targeted) {
    if (std::exchange(m_dropTargeted, targeted) != targeted) {
        Q_EMIT dropChanged();
    }
}

} // namespace driftwell
