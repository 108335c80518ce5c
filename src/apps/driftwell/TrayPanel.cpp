#include "apps/driftwell/TrayPanel.h"

#include "ui/scene/Scene.h"
#include "ui/style/DW.h"

#include <QGuiApplication>
#include <QQuickItem>
#include <QScreen>

#include <algorithm>

namespace driftwell {

namespace {

constexpr int gap = 8;

QRect availableScreen(QPoint point) {
    const QScreen* screen = QGuiApplication::screenAt(point);
    return (screen != nullptr ? screen : QGuiApplication::primaryScreen())->availableGeometry();
}

} // namespace

TrayPanel::TrayPanel(MenuBarModel& model, WindowServices& desktop) : m_model(model), m_desktop(desktop) {
    connect(this, &TrayPanel::dismissalAsked, this, &TrayPanel::dismiss, Qt::QueuedConnection);
}

TrayPanel::~TrayPanel() = default;

QPoint TrayPanel::placeBeside(QPoint anchor, QSize size, const QRect& screen) {
    const QRect inner = screen.adjusted(gap, gap, -gap, -gap);
    const bool inLowerHalf = anchor.y() > screen.center().y();
    const int x = anchor.x() - size.width() / 2;
    const int y = inLowerHalf ? anchor.y() - gap - size.height() : anchor.y() + gap;
    return {std::max(inner.left(), std::min(x, inner.left() + inner.width() - size.width())),
            std::max(inner.top(), std::min(y, inner.top() + inner.height() - size.height()))};
}

void TrayPanel::toggle(QPoint anchor) {
    if (m_scene) {
        dismiss();
    } else {
        open(anchor);
    }
}

void TrayPanel::open(QPoint anchor) {
    m_anchor = anchor;
    m_wasActive = false;
    m_scene = std::make_unique<Scene>(m_desktop, DW::Token::Card);
    QQuickView& view = m_scene->view();
    view.setTitle(QStringLiteral("Driftwell"));
    view.setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    view.setResizeMode(QQuickView::SizeViewToRootObject);
    m_scene->load(QStringLiteral("MenuBarView"), {{QStringLiteral("model"), QVariant::fromValue(&m_model)}});
    connect(view.rootObject(), SIGNAL(dismissed()), this, SIGNAL(dismissalAsked()));
    connect(&view, &QWindow::activeChanged, this, &TrayPanel::followActivation);
    connect(&view, &QWindow::heightChanged, this, &TrayPanel::place);
    place();
    view.show();
    view.requestActivate();
}

void TrayPanel::place() {
    QQuickView& view = m_scene->view();
    view.setPosition(placeBeside(m_anchor, view.size(), availableScreen(m_anchor)));
}

void TrayPanel::followActivation() {
    const bool isActive = m_scene->view().isActive();
    if (m_wasActive && !isActive) {
        Q_EMIT dismissalAsked();
    }
    m_wasActive = isActive;
}

void TrayPanel::dismiss() {
    m_scene.reset();
}

} // namespace driftwell
