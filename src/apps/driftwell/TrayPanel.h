#pragma once

#include "desktop/WindowServices.h"
#include "ui/tray/MenuBarModel.h"

#include <QObject>
#include <QPoint>

#include <memory>

namespace driftwell {

class Scene;

/// The panel that opens at the tray item. It goes away when the person turns to something else; while it is away,
/// nothing of it is in memory.
class TrayPanel final : public QObject {
    Q_OBJECT

public:
    /// Both outlive the panel.
    TrayPanel(MenuBarModel& model, WindowServices& desktop);
    ~TrayPanel() override;

    /// Opens the panel beside a point on screen, or closes it when it is open.
    void toggle(QPoint anchor);
    void dismiss();

    [[nodiscard]] bool isOpen() const { return m_scene != nullptr; }

    /// Where a panel of `size` is placed: as near to `anchor` as it fits into `screen`, away from the edge of the
    /// screen that the anchor is at.
    [[nodiscard]] static QPoint placeBeside(QPoint anchor, QSize size, const QRect& screen);

Q_SIGNALS:
    /// The panel is to go, once whoever says so has ended.
    void dismissalAsked();

private:
    void open(QPoint anchor);
    void followActivation();
    void place();

    MenuBarModel& m_model;
    WindowServices& m_desktop;
    std::unique_ptr<Scene> m_scene;
    QPoint m_anchor;
    bool m_wasActive = false;
};

} // namespace driftwell
