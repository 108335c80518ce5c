#include "apps/driftwell/MainWindow.h"

#include "apps/driftwell/FolderDrop.h"
#include "apps/driftwell/SettingsWindow.h"
#include "desktop/freedesktop/WindowActivation.h"
#include "ui/scene/Scene.h"
#include "ui/window/MainWindowModel.h"
#include "ui/window/WindowControls.h"

#include <QKeyEvent>
#include <QTimer>

namespace driftwell {

struct MainWindow::Contents {
    Contents(AppState& state, WindowServices& desktop) : model(state, desktop), scene(desktop, DW::Token::Canvas) {}
    // What is on screen refers to all the rest and goes first.
    ~Contents() { scene.unload(); }
    Contents(const Contents&) = delete;
    Contents& operator=(const Contents&) = delete;

    MainWindowModel model;
    Scene scene;
    WindowControls controls{scene.view()};
    FolderDrop drop{scene.view(), model};
};

MainWindow::MainWindow(AppState& state, WindowServices& desktop) : m_state(state), m_desktop(desktop) {}

MainWindow::~MainWindow() = default;

QQuickView* MainWindow::view() const {
    return m_contents ? &m_contents->scene.view() : nullptr;
}

bool MainWindow::isSeen() const {
    return m_contents && view()->isVisible() && !view()->windowStates().testFlag(Qt::WindowMinimized);
}

void MainWindow::show(const QByteArray& activationToken) {
    if (!m_contents) {
        open();
    }
    bringForward(*view(), activationToken);
}

void MainWindow::hide() {
    if (m_contents) {
        view()->hide();
    }
}

void MainWindow::open() {
    m_contents = std::make_unique<Contents>(m_state, m_desktop);
    QQuickView& window = m_contents->scene.view();
    window.setTitle(QStringLiteral("Driftwell"));
    window.setFlags(Qt::Window | Qt::FramelessWindowHint);
    window.setMinimumSize(minimumSize);
    window.resize(m_size);
    m_contents->scene.load(QStringLiteral("MainWindowView"),
                           {{QStringLiteral("model"), QVariant::fromValue(&m_contents->model)},
                            {QStringLiteral("window"), QVariant::fromValue(&m_contents->controls)}});
    window.installEventFilter(this);
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Close) {
        // Later: the window is in the middle of it, and the click that closed it in the middle of a handler.
        QTimer::singleShot(0, this, &MainWindow::unload);
    }
    // Before the scene, whose sheets keep every key to themselves.
    if (event->type() == QEvent::KeyPress && runCommand(*static_cast<QKeyEvent*>(event))) {
        return true;
    }
    return QObject::eventFilter(watched, event);
}

bool MainWindow::runCommand(const QKeyEvent& key) {
    if (key.matches(QKeySequence::Quit)) {
        Q_EMIT quitRequested();
        return true;
    }
    if (SettingsWindow::opensWith(key)) {
        Q_EMIT settingsRequested();
        return true;
    }
    return key.matches(QKeySequence::Close) && view()->close();
}

void MainWindow::unload() {
    if (!m_contents || view()->isVisible()) {
        return;
    }
    if (view()->windowStates() == Qt::WindowNoState) {
        m_size = view()->size();
    }
    m_contents.reset();
    Q_EMIT closed();
}

} // namespace driftwell
