#include "apps/driftwell/Application.h"

#include "core/AppState.h"
#include "core/DeepLinks.h"
#include "core/Deployments.h"
#include "core/NewProject.h"
#include "core/RunningWork.h"
#include "core/SignIn.h"
#include "core/UserDefaults.h"
#include "desktop/freedesktop/FreedesktopServices.h"
#include "platform/PlatformClient.h"
#include "support/Concurrency.h"
#include "support/ExitDeadline.h"
#include "support/Sleep.h"

#include <QCoreApplication>
#include <QQuickView>
#include <QUrl>

#include <chrono>
#include <utility>

namespace driftwell {

using Action = Invocation::Action;

namespace {

constexpr std::chrono::seconds quitTimeout(15);

const QString openKey = QStringLiteral("open");
const QString quitKey = QStringLiteral("quit");

Notification::Content signOfLife() {
    return {.title = QStringLiteral("Driftwell is still running"),
            .text = QStringLiteral("This desktop has no tray. Start Driftwell again to bring the window back."),
            .actions = {{openKey, QStringLiteral("Open")}, {quitKey, QStringLiteral("Quit")}}};
}

} // namespace

Application::Application(AppState& state, WindowServices& desktop, QDBusConnection sessionBus)
    : m_state(state),
      m_sessionBus(std::move(sessionBus)),
      m_trayHost(m_sessionBus, FreedesktopServices::usualTimeout),
      m_updates(state.client().bundle(), openUserDefaults(state.client().store().file()), m_sessionBus),
      m_menuBar(state.connection(), state.catalog(), state.deployments(), state.siteOperations(), state.signIn(),
                state.localServer(), m_updates.updater()),
      m_window(state, desktop, openUserDefaults(state.client().store().file())),
      m_settings(state, m_updates.updater(), desktop),
      m_tray(m_menuBar, desktop, m_trayHost, state.client().configDirOverride().has_value()),
      m_mergeNotices(state.collaboration(), m_sessionBus, [this] { return m_window.isSeen(); }),
      m_deployNotices(state.deployments(), state.siteOperations(), desktop, m_sessionBus,
                      [this] { return m_window.isInFront(); }),
      m_sessionEnd([this] { return m_window.isOpen(); }) {
    connect(&m_menuBar, &MenuBarModel::windowRequested, this, [this] { showWindow(); });
    connect(&m_menuBar, &MenuBarModel::quitRequested, this, &Application::askToQuit, Qt::QueuedConnection);
    connect(&m_menuBar, &MenuBarModel::settingsRequested, this, &Application::showSettings, Qt::QueuedConnection);
    connect(&m_window, &MainWindow::quitRequested, this, &Application::askToQuit, Qt::QueuedConnection);
    connect(&m_window, &MainWindow::quitConfirmed, this, &Application::quit, Qt::QueuedConnection);
    connect(&m_window, &MainWindow::settingsRequested, this, &Application::showSettings, Qt::QueuedConnection);
    connect(&m_settings, &SettingsWindow::quitRequested, this, &Application::askToQuit, Qt::QueuedConnection);
    m_menuBar.askBeforeSignOut([this] { return asksBeforeSignOut(); });
    m_settings.askBeforeSignOut([this] { return asksBeforeSignOut(); });
    connect(&m_window, &MainWindow::closed, this, &Application::followClosedWindow);
    connect(&m_mergeNotices, &MergeNotices::openRequested, this, &Application::showWindow);
    connect(&m_deployNotices, &DeployNotices::openRequested, this, &Application::showWindow);
    connect(&state.signIn(), &SignIn::cameBack, this, &Application::followSignIn);
    connect(&m_sessionEnd, &SessionEnd::wanted, this, &Application::quit);
    connect(&m_trayHost, &TrayHost::appeared, this, [this] { m_sign.reset(); });
}

Application::~Application() = default;

void Application::askToQuit() {
    if (m_isQuitting) {
        return;
    }
    if (RunningWork::of(m_state).isEmpty()) {
        quit();
        return;
    }
    showWindow();
    m_window.askToQuit();
}

bool Application::asksBeforeSignOut() {
    if (RunningWork::of(m_state).isEmpty()) {
        return false;
    }
    showWindow();
    m_window.askToSignOut();
    return true;
}

void Application::quit() {
    if (!std::exchange(m_isQuitting, true)) {
        detach(endAndQuit());
    }
}

Task<> Application::endAndQuit() {
    m_deployNotices.leaveWord();
    // At once, and so that nothing more is begun in it.
    m_window.hide();
    m_settings.hide();
    // A folder on a server that does not answer, for example, keeps nobody from quitting. What is stored is stored at
    // once, so nothing is lost by an end that waits for nobody.
    endProcessWithin(quitTimeout);
    Task<> updates = m_updates.end();
    co_await m_state.end();
    co_await updates;
    m_sessionEnd.allow();
    m_window.discard();
    m_settings.discard();
    // What was stopped with them learns of it from the loop, which has told all of them when it tells of this.
    co_await sleepFor(std::chrono::milliseconds(0), {});
    QCoreApplication::quit();
}

void Application::begin(const Invocation& invocation) {
    m_state.start();
    m_updates.start();
    handle(invocation, qgetenv("XDG_ACTIVATION_TOKEN"));
}

void Application::handle(const Invocation& invocation, const QByteArray& activationToken) {
    if (invocation.action == Action::Tray || m_isQuitting) {
        return;
    }
    showWindow(activationToken);
    if (invocation.action == Action::Deploy) {
        m_state.newProject().deployWhenPossible(invocation.folder);
    } else if (invocation.action == Action::NewProject) {
        m_state.newProject().chooseFolderAndDeployWhenPossible();
    } else if (invocation.action == Action::FollowLink) {
        m_state.deepLinks().handleDeepLink(
            QUrl::fromEncoded(QByteArray::fromStdString(invocation.link), QUrl::StrictMode));
    }
}

void Application::showWindow(const QByteArray& activationToken) {
    m_sign.reset();
    m_mergeNotices.withdraw();
    m_deployNotices.withdraw();
    m_window.show(activationToken);
}

void Application::showSettings() {
    if (!m_isQuitting) {
        m_settings.show();
    }
}

void Application::followSignIn() {
    if (!m_isQuitting && m_window.isOpen() && !m_window.isInFront()) {
        showWindow();
        // Where the desktop does not let it come forward by itself.
        m_window.view()->alert(0);
    }
}

void Application::followClosedWindow() {
    if (m_trayHost.isSettled()) {
        sayThatItRuns();
    } else {
        connect(&m_trayHost, &TrayHost::settled, this, &Application::sayThatItRuns, Qt::SingleShotConnection);
    }
}

void Application::sayThatItRuns() {
    if (m_wasSaid || m_window.isOpen() || m_trayHost.isPresent()) {
        return;
    }
    m_wasSaid = true;
    m_sign = std::make_unique<Notification>(m_sessionBus, FreedesktopServices::usualTimeout, signOfLife());
    // Later: what is done ends the notification, which is in the middle of telling.
    connect(m_sign.get(), &Notification::actionChosen, this, &Application::runAction, Qt::QueuedConnection);
}

void Application::runAction(const QString& key, const QByteArray& activationToken) {
    if (key == openKey) {
        showWindow(activationToken);
    } else if (key == quitKey) {
        m_menuBar.quit();
    }
}

} // namespace driftwell
