#include "ui/window/MainWindowModel.h"

#include "core/AppState.h"
#include "core/Catalog.h"
#include "core/Collaboration.h"
#include "core/Connection.h"
#include "core/ConnectionTexts.h"
#include "core/Deployments.h"
#include "core/Gates.h"
#include "core/LocalPlatform.h"
#include "core/NewProject.h"
#include "core/RunningWork.h"
#include "core/SignIn.h"
#include "core/SiteOperations.h"
#include "platform/HostRefusal.h"
#include "platform/PlatformClient.h"

#include <utility>

namespace driftwell {

using Kind = Connection::Status::Kind;

MainWindowModel::MainWindowModel(AppState& state, WindowServices& desktop, Sleeper sleep)
    : m_state(state),
      m_desktop(desktop),
      m_toolbar(state.connection(), state.catalog(), state.client().configDirOverride().has_value(), nullptr),
      m_banner(state.connection(), state.localPlatform(), state.localServer(), nullptr),
      m_relinkBanner(state.cli(), nullptr),
      m_siteList(state.connection(), state.catalog(), state.deployments(), state.siteOperations(),
                 state.collaboration(), state.newProject(), state.client(), desktop, nullptr),
      m_signIn(state.connection(), state.signIn(), nullptr),
      m_siteSheets(state, desktop, std::move(sleep)),
      m_gitInstall(state.gates(), state.desktop(), nullptr),
      m_content(presentContent()) {
    connect(&state.connection(), &Connection::configChanged, this, &MainWindowModel::hostChanged);
    // One was chosen, here or elsewhere.
    connect(&state.connection(), &Connection::configChanged, this, &MainWindowModel::keepPlatform);
    connect(&m_toolbar, &ToolbarModel::settingsRequested, this, &MainWindowModel::settingsRequested);
    connect(&m_toolbar, &ToolbarModel::signOutRequested, this, &MainWindowModel::askToSignOut);
    connect(&m_signIn, &SignInModel::platformChangeRequested, this, &MainWindowModel::choosePlatform);
    for (const auto signal : {&Connection::statusChanged, &Connection::configChanged}) {
        connect(&state.connection(), signal, this, &MainWindowModel::followStatus);
    }
    for (const auto signal : {&Catalog::sitesChanged, &Catalog::filterChanged}) {
        connect(&state.catalog(), signal, this, &MainWindowModel::followStatus);
    }
    connect(&state.localPlatform(), &LocalPlatform::localSetupErrorChanged, this,
            &MainWindowModel::localSetupErrorChanged);
    connect(&state.gates(), &Gates::needsOnboardingChanged, this, &MainWindowModel::followOnboarding);
    if (state.gates().needsOnboarding()) {
        m_onboarding = new OnboardingModel(state.connection(), state.signIn(), state.gates(), state.cli(),
                                           state.desktop(), desktop.loginItem(), this);
    }
    connect(&state.gates(), &Gates::showGitInstallSheetChanged, this, &MainWindowModel::gitInstallChanged);
    listAlerts();
    connectSiteSheets();
    connect(&m_siteList, &SiteListModel::keysRequested, this, &MainWindowModel::showKeys);
    connect(&m_keys, &KeyListModel::closed, this, [this] { setKeysShown(false); });
    connect(&state.deployments(), &Deployments::deployFlowChanged, this, &MainWindowModel::followDeployFlow);
    followDeployFlow();
}

MainWindowModel::~MainWindowModel() = default;

void MainWindowModel::listAlerts() {
    SiteOperations& operations = m_state.siteOperations();
    m_alerts.add(operations, &SiteOperations::rollbackErrorChanged,
                 {.title = QStringLiteral("Rollback failed"),
                  .text = [&operations] { return operations.rollbackError(); },
                  .dismiss =
                      [&operations] {
                          operations.clearRollbackError();
                      }});
    m_alerts.add(operations, &SiteOperations::deleteErrorChanged,
                 {.title = QStringLiteral("Delete failed"),
                  .text = [&operations] { return operations.deleteError(); },
                  .dismiss =
                      [&operations] {
                          operations.clearDeleteError();
                      }});
    Collaboration& collaboration = m_state.collaboration();
    m_alerts.add(collaboration, &Collaboration::collabErrorChanged,
                 {.title = QStringLiteral("Collaboration hiccup"),
                  .text = [&collaboration] { return collaboration.collabError(); },
                  .dismiss =
                      [&collaboration] {
                          collaboration.clearCollabError();
                      }});
    Deployments& deployments = m_state.deployments();
    m_alerts.add(deployments, &Deployments::openErrorChanged,
                 {.title = QStringLiteral("Can’t publish again"),
                  .text = [&deployments] { return deployments.openError(); },
                  .dismiss =
                      [&deployments] {
                          deployments.clearOpenError();
                      }});
    connect(&m_alerts, &Alerts::changed, this, &MainWindowModel::alertChanged);
}

void MainWindowModel::connectSiteSheets() {
    connect(&m_siteList, &SiteListModel::shareRequested, &m_siteSheets, &SiteSheets::showShare);
    connect(&m_siteList, &SiteListModel::historyRequested, &m_siteSheets, &SiteSheets::showHistory);
    connect(&m_siteList, &SiteListModel::rollbackRequested, &m_siteSheets, &SiteSheets::askToRollBack);
    connect(&m_siteList, &SiteListModel::deletionRequested, &m_siteSheets, &SiteSheets::askToDelete);
    for (const auto signal :
         {&SiteSheets::shareChanged, &SiteSheets::conflictChanged, &SiteSheets::attentionChanged,
          &SiteSheets::historyChanged, &SiteSheets::rollbackChanged, &SiteSheets::deletionChanged}) {
        connect(&m_siteSheets, signal, this, &MainWindowModel::dropChanged);
    }
    for (const auto signal :
         {&MainWindowModel::gitInstallChanged, &MainWindowModel::alertChanged, &MainWindowModel::hostChanged}) {
        connect(this, signal, this, &MainWindowModel::dropChanged);
    }
    connect(&m_state.deployments(), &Deployments::isDeployingChanged, this, &MainWindowModel::dropChanged);
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
    if (m_state.gates().needsOnboarding()) {
        return Content::Onboarding;
    }
    if (m_choosingPlatform) {
        return Content::NoHost;
    }
    return content(m_state.connection().status().kind, !m_state.catalog().sites().isEmpty(),
                   !m_state.catalog().filter().isEmpty());
}

void MainWindowModel::followStatus() {
    if (std::exchange(m_content, presentContent()) != m_content) {
        if (m_content != Content::SiteList) {
            // What hangs off a row goes with the rows.
            m_siteList.closeLogs();
            m_siteSheets.closeShare();
            m_siteSheets.closeHistory();
        }
        Q_EMIT contentChanged();
    }
    Q_EMIT dropChanged();
}

void MainWindowModel::followOnboarding() {
    OnboardingModel* const old = std::exchange(m_onboarding, nullptr);
    followStatus();
    if (old != nullptr) {
        // After its view, which is on its way out.
        old->deleteLater();
    }
}

void MainWindowModel::followDeployFlow() {
    const std::shared_ptr<DeployFlow> flow = m_state.deployments().deployFlow();
    DeploySheetModel* const old = m_deploySheet;
    m_deploySheet = flow ? new DeploySheetModel(flow, m_state.connection(), m_state.catalog(), m_state.deployments(),
                                                m_state.newProject(), m_state.siteOperations(), m_desktop, this)
                         : nullptr;
    Q_EMIT deploySheetChanged();
    if (old != nullptr) {
        // After its sheet, which is on its way out.
        old->deleteLater();
    }
}

void MainWindowModel::askToQuit() {
    ask(WorkQuestion::Intent::Quit);
}

void MainWindowModel::askToSignOut() {
    if (RunningWork::of(m_state).isEmpty()) {
        m_state.signIn().signOut();
    } else {
        ask(WorkQuestion::Intent::SignOut);
    }
}

void MainWindowModel::ask(WorkQuestion::Intent intent) {
    if (m_question != nullptr && m_question->intent() == intent) {
        return;
    }
    endQuestion();
    m_question = new WorkQuestion(intent, m_state, this);
    connect(m_question, &WorkQuestion::confirmed, this, &MainWindowModel::confirmQuestion);
    connect(m_question, &WorkQuestion::cancelled, this, &MainWindowModel::endQuestion);
    Q_EMIT questionChanged();
}

void MainWindowModel::endQuestion() {
    if (WorkQuestion* const old = std::exchange(m_question, nullptr)) {
        Q_EMIT questionChanged();
        // After its sheet, which is on its way out.
        old->deleteLater();
    }
}

void MainWindowModel::confirmQuestion() {
    const WorkQuestion::Intent intent = m_question->intent();
    endQuestion();
    if (intent == WorkQuestion::Intent::Quit) {
        Q_EMIT quitConfirmed();
    } else {
        m_state.signIn().signOut();
    }
}

GitInstallModel* MainWindowModel::gitInstall() {
    return m_state.gates().showGitInstallSheet() ? &m_gitInstall : nullptr;
}

QString MainWindowModel::host() const {
    return hostName(m_state.connection().config());
}

QString MainWindowModel::exampleHost() {
    return QStringLiteral(DRIFTWELL_EXAMPLE_HOST);
}

QString MainWindowModel::localSetupError() const {
    return m_state.localPlatform().localSetupError().value_or(QString());
}

bool MainWindowModel::canDeploy() const {
    return !m_state.gates().needsOnboarding() &&
           acceptsDeploys(m_state.connection().config(), m_state.connection().status());
}

bool MainWindowModel::isSomethingInTheWay() const {
    const SiteSheets& sheets = m_siteSheets;
    return m_state.deployments().isTaken() || m_state.gates().showGitInstallSheet() || m_alerts.isPending() ||
           sheets.share() || sheets.conflict() || sheets.attention() || sheets.history() || sheets.rollback() ||
           sheets.deletion();
}

void MainWindowModel::hover(const std::vector<std::filesystem::path>& folders) {
    QStringList names;
    if (folders.size() > 1) {
        for (const std::filesystem::path& folder : folders) {
            const std::filesystem::path named = folder.has_filename() ? folder : folder.parent_path();
            names.append(QString::fromStdString(named.filename().string()));
        }
    }
    const bool isOther = std::exchange(m_hovering, names) != m_hovering;
    if (std::exchange(m_dropTargeted, !folders.empty()) != m_dropTargeted || isOther) {
        Q_EMIT dropChanged();
    }
}

QString MainWindowModel::dropTitle() const {
    if (m_state.deployments().isDeploying()) {
        return QStringLiteral("A deployment is running");
    }
    if (!takesDrop()) {
        return QStringLiteral("Something else is open");
    }
    return m_hovering.isEmpty() ? QStringLiteral("Drop to deploy") : QStringLiteral("Drop one folder");
}

QString MainWindowModel::dropText() const {
    if (m_state.deployments().isDeploying()) {
        return QStringLiteral("Drop the folder again when it is done.");
    }
    if (!takesDrop()) {
        return QStringLiteral("Close it and drop the folder again.");
    }
    return m_hovering.isEmpty() ? QStringLiteral("live on %1 in about 30 seconds").arg(host())
                                : QStringLiteral("Of these, only “%1” is taken.").arg(m_hovering.first());
}

QString MainWindowModel::dropNote() const {
    return takesDrop() ? QStringLiteral("You can rename it before it goes live.") : QString();
}

void MainWindowModel::drop(const std::filesystem::path& folder) {
    m_state.deployments().beginDeploy(folder);
}

void MainWindowModel::setHost(const QString& host) {
    const QString typed = host.trimmed();
    if (typed.isEmpty()) {
        return;
    }
    const std::optional<QString> refusal = hostRefusal(typed);
    setHostError(refusal.value_or(QString()));
    if (!refusal) {
        m_state.connection().setHost(typed);
        // Also when it is the one of before.
        keepPlatform();
    }
}

void MainWindowModel::clearHostError() {
    setHostError({});
}

void MainWindowModel::setHostError(const QString& error) {
    if (std::exchange(m_hostError, error) != error) {
        Q_EMIT hostErrorChanged();
    }
}

QString MainWindowModel::presentPlatform() const {
    const std::optional<PlatformConfig> config = m_state.connection().config();
    if (!config) {
        return {};
    }
    return config->isReadable() ? config->origin() : config->host();
}

void MainWindowModel::choosePlatform() {
    setChoosingPlatform(true);
}

void MainWindowModel::keepPlatform() {
    setChoosingPlatform(false);
}

void MainWindowModel::setChoosingPlatform(bool choosing) {
    if (std::exchange(m_choosingPlatform, choosing) != choosing) {
        clearHostError();
        Q_EMIT choosingPlatformChanged();
        followStatus();
    }
}

void MainWindowModel::chooseRepoAndRunLocalPlatform() {
    m_state.localPlatform().chooseRepoAndRunLocalPlatform();
}

void MainWindowModel::chooseFolderAndDeploy() {
    m_state.newProject().chooseFolderAndDeploy();
}

void MainWindowModel::setKeysShown(bool shown) {
    if (std::exchange(m_keysShown, shown) != shown) {
        Q_EMIT keysChanged();
    }
}

void MainWindowModel::setDropTargeted(bool targeted) {
    m_hovering.clear();
    if (std::exchange(m_dropTargeted, targeted) != targeted) {
        Q_EMIT dropChanged();
    }
}

} // namespace driftwell
