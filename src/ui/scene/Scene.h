#pragma once

#include "desktop/WindowServices.h"
#include "ui/scene/KeyboardFocus.h"
#include "ui/style/DW.h"

#include <QQmlEngine>
#include <QQuickView>
#include <QVariantMap>

#include <memory>

namespace driftwell {

/// One window's whole scene: its engine and its view, loaded from a file of the application's QML module, and unloaded
/// with this object, so that a window that is not on screen costs no memory.
///
/// It is drawn without a graphics card, unless the person has chosen otherwise through the variables QT_QUICK_BACKEND
/// or QSG_RHI_BACKEND.
class Scene {
public:
    /// `desktop` outlives the scene. What is not drawn yet, while the window is new or grows, has the colour
    /// `background` of the desktop's scheme.
    Scene(WindowServices& desktop, DW::Token background);
    ~Scene();
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    /// Fills the view with `file`, for example "MainWindowView", given the root's required properties. The objects
    /// among them outlive the scene. The view is not shown yet.
    ///
    /// A file that does not load is a broken build: the process ends with what is wrong.
    void load(const QString& file, const QVariantMap& properties);

    /// Empties the view: what load() was given is not used any more.
    void unload();

    [[nodiscard]] QQuickView& view() { return *m_view; }
    [[nodiscard]] QQmlEngine& engine() { return *m_engine; }

private:
    std::unique_ptr<QQmlEngine> m_engine;
    std::unique_ptr<QQuickView> m_view;
    std::unique_ptr<KeyboardFocus> m_focus;
};

} // namespace driftwell
