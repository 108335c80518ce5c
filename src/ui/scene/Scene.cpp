#include "ui/scene/Scene.h"

#include "ui/scene/AccessibleItem.h"

#include <QQmlError>
#include <QQuickStyle>
#include <QQuickWindow>

#include <malloc.h>

#include <mutex>

// Written by the build for the module; nothing else refers to it, so the linker would leave it out.
void qml_register_types_Driftwell();

namespace driftwell {

namespace {

QUrl sourceOf(const QString& file) {
    return QUrl(QStringLiteral("qrc:/driftwell/Driftwell/%1.qml").arg(file));
}

/// Draws without a graphics card, unless the person has chosen otherwise. Both hold for the whole process from its
/// first scene on, and no sooner: while there is only the tray, nothing of Qt Quick is touched.
void chooseRenderer() {
    if (!qEnvironmentVariableIsSet("QT_QUICK_BACKEND") && !qEnvironmentVariableIsSet("QSG_RHI_BACKEND")) {
        QQuickWindow::setSceneGraphBackend(QStringLiteral("software"));
    }
    QQuickStyle::setStyle(QStringLiteral("Basic"));
}

[[noreturn]] void endBroken(const QList<QQmlError>& errors) {
    QString text;
    for (const QQmlError& error : errors) {
        text += error.toString() + u'\n';
    }
    qFatal("The interface does not load:\n%s", qUtf8Printable(text));
}

} // namespace

Scene::Scene(WindowServices& desktop, DW::Token background) : m_engine(std::make_unique<QQmlEngine>()) {
    static std::once_flag chosen;
    std::call_once(chosen, chooseRenderer);
    qml_register_types_Driftwell();
    AccessibleItem::install();
    m_engine->addImportPath(QStringLiteral("qrc:/driftwell"));
    DW::provideDesktop(*m_engine, desktop);

    m_view = std::make_unique<QQuickView>(m_engine.get(), nullptr);
    m_view->setResizeMode(QQuickView::SizeRootObjectToView);
    const auto clear = [&desktop, view = m_view.get(), background] {
        view->setColor(DW::color(background, desktop.colorScheme()));
    };
    QObject::connect(&desktop, &WindowServices::colorSchemeChanged, m_view.get(), clear);
    clear();
    m_focus = std::make_unique<KeyboardFocus>(*m_view);
}

void Scene::load(const QString& file, const QVariantMap& properties) {
    m_view->setInitialProperties(properties);
    m_view->setSource(sourceOf(file));
    if (m_view->status() != QQuickView::Ready) {
        endBroken(m_view->errors());
    }
}

void Scene::unload() {
    m_view->setSource({});
}

Scene::~Scene() {
    m_focus.reset();
    m_view.reset();
    m_engine.reset();
    // The scene's many small blocks are given back to the system, not kept for the next one.
    ::malloc_trim(0);
}

} // namespace driftwell
