#include "apps/driftwell/Application.h"

#include "support/Concurrency.h"

#include <QCoreApplication>

#include <utility>

namespace driftwell {

using Action = Invocation::Action;

Application::Application(AppState& state, DesktopServices& desktop)
    : m_state(state), m_menuBar(state, desktop), m_window(state, desktop), m_tray(m_menuBar, state, desktop) {
    connect(&m_menuBar, &MenuBarModel::windowRequested, this, [this] { m_window.show(); });
    connect(&m_menuBar, &MenuBarModel::quitRequested, this, &Application::quit, Qt::QueuedConnection);
    connect(&m_window, &MainWindow::quitRequested, this, &Application::quit, Qt::QueuedConnection);
}

void Application::quit() {
    if (!std::exchange(m_isQuitting, true)) {
        detach(endAndQuit());
    }
}

Task<> Application::endAndQuit() {
    co_await m_state.endDeployments();
    QCoreApplication::quit();
}

void Application::begin(const Invocation& invocation) {
    // There is no introduction to go through: the window itself shows how one begins.
    if (m_state.needsOnboarding()) {
        m_state.completeOnboarding();
    }
    m_state.start();
    handle(invocation, qgetenv("XDG_ACTIVATION_TOKEN"));
}

void Application::handle(const Invocation& invocation, const QByteArray& activationToken) {
    if (invocation.action == Action::Tray || m_isQuitting) {
        return;
    }
    m_window.show(activationToken);
    if (invocation.action == Action::Deploy) {
        m_state.beginDeploy(invocation.folder);
    } else if (invocation.action == Action::NewProject) {
        m_state.chooseFolderAndDeploy();
    }
}

} // namespace driftwell
