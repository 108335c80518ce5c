#pragma once

#include "apps/driftwell/TrayPanel.h"
#include "core/AppState.h"
#include "ui/MenuBarModel.h"

#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>
#include <QVariantAnimation>

namespace driftwell {

/// The application's constant presence: an icon in the desktop's tray that tells the state at a glance, with a panel on
/// a click, and a plain menu with the same commands for trays that show only menus.
class TrayItem final : public QObject {
    Q_OBJECT

public:
    /// All outlive the item.
    TrayItem(MenuBarModel& model, AppState& state, DesktopServices& desktop);
    ~TrayItem() override;

    /// Whether there is a tray that shows the item. A tray that comes later is noticed.
    [[nodiscard]] bool isShown() const { return QSystemTrayIcon::isSystemTrayAvailable(); }

private:
    void activate(QSystemTrayIcon::ActivationReason reason);
    void followModel();
    void showIcon(MenuBarModel::Icon icon);
    void showPulse(int level);
    void fillMenu();

    MenuBarModel& m_model;
    AppState& m_state;
    bool m_developmentCopy;
    QSystemTrayIcon m_icon;
    QMenu m_menu;
    TrayPanel m_panel;
    QVariantAnimation m_pulse;
    std::optional<MenuBarModel::Icon> m_shown;
    int m_shownLevel = -1;
    QStringList m_menuEntries;
};

} // namespace driftwell
