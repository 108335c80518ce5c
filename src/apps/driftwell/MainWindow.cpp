#include "apps/driftwell/MainWindow.h"

#include "apps/driftwell/FolderDrop.h"
#include "apps/driftwell/SettingsWindow.h"
#include "desktop/freedesktop/WindowActivation.h"
#include "ui/scene/Scene.h"
#include "ui/window/MainWindowModel.h"
#include "ui/window/WindowControls.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>

#include <utility>

namespace driftwell {

struct MainWindow::Contents {
    Contents(AppState& state, WindowServices& desktop)
        : model(state, desktop), scene(desktop, DW::Token::Canvas), controls(scene.view(), desktop.windowManager()) {}
    // What is on screen refers to all the rest and goes first.
    ~Contents() { scene.unload(); }
    Contents(const Contents&) = delete;
    Contents& operator=(const Contents&) = delete;

    MainWindowModel model;
    Scene scene;
    WindowControls controls;
    FolderDrop drop{scene.view(), model};
};

namespace {

/// What panels leave free of each screen, that of the primary one first.
QList<QRect> freeAreas() {
    const QScreen* const primary = QGuiApplication::primaryScreen();
    QList<QRect> areas{primary->availableGeometry()};
    for (const QScreen* screen : QGuiApplication::screens()) {
        if (screen != primary) {
            areas.append(screen->availableGeometry());
        }
    }
    return areas;
}

} // namespace

MainWindow::MainWindow(AppState& state, WindowServices& desktop, std::unique_ptr<QSettings> defaults)
    : m_state(state), m_desktop(desktop), m_defaults(std::move(defaults)) {
    // Later: the window is in the middle of it, and the click that closed it in the middle of a handler.
    connect(this, &MainWindow::closing, this, &MainWindow::unload, Qt::QueuedConnection);
}

MainWindow::~MainWindow() = default;

QQuickView* MainWindow::view() const {
    return m_contents ? &m_contents->scene.view() : nullptr;
}

bool MainWindow::isSeen() const {
    return m_contents && view()->isVisible() && !view()->windowStates().testFlag(Qt::WindowMinimized);
}

bool MainWindow::isInFront() const {
    return isSeen() && view()->isActive();
}

void MainWindow::show(const QByteArray& activationToken) {
    if (!m_contents) {
        open();
    }
    bringForward(*view(), activationToken);
}

void MainWindow::askToQuit() {
    if (m_contents) {
        m_contents->model.askToQuit();
    }
}

void MainWindow::askToSignOut() {
    if (m_contents) {
        m_contents->model.askToSignOut();
    }
}

void MainWindow::hide() {
    if (m_contents) {
        keepPlace();
        view()->hide();
    }
}

void MainWindow::discard() {
    m_contents.reset();
}

void MainWindow::open() {
    m_contents = std::make_unique<Contents>(m_state, m_desktop);
    QQuickView& window = m_contents->scene.view();
    window.setTitle(QStringLiteral("Driftwell"));
    window.setFlags(Qt::Window | Qt::FramelessWindowHint);
    place(window);
    m_contents->scene.load(QStringLiteral("MainWindowView"),
                           {{QStringLiteral("model"), QVariant::fromValue(&m_contents->model)},
                            {QStringLiteral("window"), QVariant::fromValue(&m_contents->controls)}});
    window.installEventFilter(this);
    connect(&m_contents->model, &MainWindowModel::quitConfirmed, this, &MainWindow::quitConfirmed);
    connect(&m_contents->model, &MainWindowModel::settingsRequested, this, &MainWindow::settingsRequested);
}

void MainWindow::place(QQuickView& window) const {
    const QList<QRect> areas = freeAreas();
    const std::optional<WindowPlace> kept = keptPlace(*m_defaults);
    const QRect geometry = fitted(kept ? kept->geometry : QRect(areas.front().topLeft(), defaultSize), areas);
    window.setMinimumSize(minimumSize.boundedTo(geometry.size()));
    if (!kept) {
        // The window manager has the better place for the first time.
        window.resize(geometry.size());
        return;
    }
    window.setGeometry(geometry);
    if (kept->isMaximized) {
        window.setWindowStates(Qt::WindowMaximized);
    }
}

void MainWindow::followPlace() {
    const QRect geometry = view()->geometry();
    if (view()->windowStates() == Qt::WindowNoState) {
        if (geometry != m_geometry) {
            m_earlierGeometry = std::exchange(m_geometry, geometry);
        }
    } else if (view()->windowStates().testFlag(Qt::WindowMaximized) && geometry == m_geometry &&
               m_earlierGeometry.isValid()) {
        // It was enlarged before it was said to be maximized.
        m_geometry = m_earlierGeometry;
    }
}

void MainWindow::keepPlace() {
    if (m_geometry.isValid()) {
        driftwell::keepPlace(*m_defaults, {m_geometry, view()->windowStates().testFlag(Qt::WindowMaximized)});
    }
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Close) {
        Q_EMIT closing();
    }
    if (event->type() == QEvent::Move || event->type() == QEvent::Resize ||
        event->type() == QEvent::WindowStateChange) {
        followPlace();
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
    keepPlace();
    m_contents.reset();
    Q_EMIT closed();
}

} // namespace driftwell
