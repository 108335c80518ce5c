#include "apps/driftwell/SettingsWindow.h"

#include "core/AppState.h"
#include "desktop/freedesktop/WindowActivation.h"
#include "ui/scene/Scene.h"
#include "ui/settings/SettingsModel.h"

#include <QKeyEvent>
#include <QQuickItem>
#include <QScreen>

#include <algorithm>
#include <cmath>

namespace driftwell {

namespace {

/// What a desktop's panels and the window's own title may take of the screen besides the area that is free.
constexpr int titleHeight = 40;

} // namespace

struct SettingsWindow::Contents {
    Contents(AppState& state, Updater& updater, WindowServices& desktop)
        : model(state.connection(), state.signIn(), state.cli(), updater, desktop.loginItem()),
          scene(desktop, DW::Token::Canvas) {}
    // What is on screen refers to all the rest and goes first.
    ~Contents() { scene.unload(); }
    Contents(const Contents&) = delete;
    Contents& operator=(const Contents&) = delete;

    SettingsModel model;
    Scene scene;
};

SettingsWindow::SettingsWindow(AppState& state, Updater& updater, WindowServices& desktop)
    : m_state(state), m_updater(updater), m_desktop(desktop) {
    // Later: what is on screen cannot go while it is being closed.
    connect(this, &SettingsWindow::closing, this, &SettingsWindow::unload, Qt::QueuedConnection);
}

SettingsWindow::~SettingsWindow() = default;

bool SettingsWindow::opensWith(const QKeyEvent& key) {
    return key.modifiers() == Qt::ControlModifier && key.key() == Qt::Key_Comma;
}

QQuickView* SettingsWindow::view() const {
    return m_contents ? &m_contents->scene.view() : nullptr;
}

void SettingsWindow::show() {
    if (!m_contents) {
        open();
    }
    bringForward(*view(), {});
}

void SettingsWindow::hide() {
    if (m_contents) {
        view()->hide();
    }
}

void SettingsWindow::discard() {
    m_contents.reset();
}

void SettingsWindow::open() {
    m_contents = std::make_unique<Contents>(m_state, m_updater, m_desktop);
    m_contents->model.askBeforeSignOut(m_askBeforeSignOut);
    QQuickView& window = m_contents->scene.view();
    window.setTitle(QStringLiteral("Driftwell Settings"));
    m_contents->scene.load(QStringLiteral("SettingsView"),
                           {{QStringLiteral("model"), QVariant::fromValue(&m_contents->model)}});
    connect(window.rootObject(), &QQuickItem::implicitHeightChanged, this, &SettingsWindow::fitContent);
    // Once more when it is on screen: a window manager takes no other size from a window that is on its way there.
    connect(&window, &QQuickWindow::frameSwapped, this, &SettingsWindow::fitContent,
            static_cast<Qt::ConnectionType>(Qt::QueuedConnection | Qt::SingleShotConnection));
    fitContent();
    window.installEventFilter(this);
}

void SettingsWindow::fitContent() {
    if (!m_contents) {
        return;
    }
    QQuickView& window = *view();
    const int free = window.screen()->availableSize().height() - titleHeight;
    const QSizeF wanted(window.rootObject()->implicitWidth(), window.rootObject()->implicitHeight());
    const QSize size(static_cast<int>(std::ceil(wanted.width())),
                     std::min(static_cast<int>(std::ceil(wanted.height())), free));
    // The limits make room before the size takes it.
    window.setMinimumSize({size.width(), 0});
    window.setMaximumSize(size);
    window.resize(size);
    window.setMinimumSize(size);
    if (window.isVisible()) {
        keepOnScreen();
    }
}

void SettingsWindow::keepOnScreen() const {
    QQuickView& window = *view();
    const QRect free = window.screen()->availableGeometry();
    const QRect frame = window.frameGeometry();
    const int below = frame.bottom() - free.bottom();
    if (below > 0) {
        window.setFramePosition({frame.x(), std::max(free.top(), frame.y() - below)});
    }
}

bool SettingsWindow::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Close) {
        Q_EMIT closing();
    }
    if (event->type() == QEvent::KeyPress) {
        const auto& key = *static_cast<QKeyEvent*>(event);
        if (key.matches(QKeySequence::Quit)) {
            Q_EMIT quitRequested();
            return true;
        }
        if (key.matches(QKeySequence::Close)) {
            return view()->close();
        }
    }
    return QObject::eventFilter(watched, event);
}

void SettingsWindow::unload() {
    if (m_contents && !view()->isVisible()) {
        m_contents.reset();
    }
}

} // namespace driftwell
