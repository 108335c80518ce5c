#pragma once

#include "apps/driftwell/TrayPanel.h"
#include "desktop/freedesktop/TrayHost.h"
#include "ui/tray/MenuBarModel.h"

#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>
#include <QVariantAnimation>

#include <memory>
#include <optional>

namespace driftwell {

/// The application's constant presence: an icon in the desktop's tray that tells the state at a glance, with a panel on
/// a click, and a plain menu with the same commands for trays that show only menus. Where there is no tray, it waits
/// for one.
class TrayItem final : public QObject {
    Q_OBJECT

public:
    /// All outlive the item. `developmentCopy` chooses the glyph by which a developer tells the two copies apart.
    TrayItem(MenuBarModel& model, WindowServices& desktop, TrayHost& host, bool developmentCopy);
    ~TrayItem() override;

private:
    void makeIcon();
    void activate(QSystemTrayIcon::ActivationReason reason);
    void followModel();
    void showIcon(TrayIconKind icon);
    void showPulse(int level);
    void fillMenu();

    MenuBarModel& m_model;
    bool m_developmentCopy;
    QMenu m_menu;
    /// Null before there is a tray; never made anew, since it finds a tray that comes back by itself.
    std::unique_ptr<QSystemTrayIcon> m_icon;
    TrayPanel m_panel;
    QVariantAnimation m_pulse;
    std::optional<TrayIconKind> m_shown;
    int m_shownLevel = -1;
    QStringList m_menuEntries;
};

} // namespace driftwell
