#include "apps/driftwell/TrayItem.h"

#include "apps/driftwell/TrayIcon.h"
#include "platform/PlatformClient.h"

#include <QCursor>

#include <utility>

namespace driftwell {

namespace {} // namespace

TrayItem::TrayItem(MenuBarModel& model, WindowServices& desktop, TrayHost& host, bool developmentCopy)
    : m_model(model), m_developmentCopy(developmentCopy), m_panel(model, desktop) {
    m_pulse.setStartValue(0.0);
    m_pulse.setEndValue(1.0);
    m_pulse.setDuration(2 * TrayPulse::duration);
    m_pulse.setLoopCount(-1);
    connect(&m_pulse, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& phase) { showPulse(TrayPulse::level(phase.toDouble())); });
    for (const auto signal :
         {&MenuBarModel::windowRequested, &MenuBarModel::settingsRequested, &MenuBarModel::quitRequested}) {
        connect(&model, signal, &m_panel, &TrayPanel::dismiss, Qt::QueuedConnection);
    }
    connect(&host, &TrayHost::appeared, this, &TrayItem::makeIcon);
}

TrayItem::~TrayItem() = default;

void TrayItem::makeIcon() {
    if (m_icon) {
        return;
    }
    m_icon = std::make_unique<QSystemTrayIcon>();
    connect(m_icon.get(), &QSystemTrayIcon::activated, this, &TrayItem::activate);
    connect(&m_model, &MenuBarModel::changed, this, &TrayItem::followModel);
    m_icon->setContextMenu(&m_menu);
    followModel();
    m_icon->show();
}

void TrayItem::activate(QSystemTrayIcon::ActivationReason reason) {
    if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick) {
        m_panel.toggle(QCursor::pos());
    }
}

void TrayItem::followModel() {
    m_icon->setToolTip(QStringLiteral("Driftwell\n") + m_model.title());
    showIcon(m_model.icon());
    fillMenu();
}

void TrayItem::showIcon(TrayIconKind icon) {
    if (std::exchange(m_shown, icon) == icon) {
        return;
    }
    m_shownLevel = -1;
    if (icon == TrayIconKind::Pulsing) {
        m_pulse.start();
    } else {
        m_pulse.stop();
        m_icon->setIcon(trayIcon(icon, m_developmentCopy, 1.0));
    }
}

void TrayItem::showPulse(int level) {
    if (std::exchange(m_shownLevel, level) != level) {
        m_icon->setIcon(trayIcon(TrayIconKind::Pulsing, m_developmentCopy, TrayPulse::opacity(level)));
    }
}

void TrayItem::fillMenu() {
    const QList<RecentSite> recent = m_model.recentSites(now());
    QStringList entries{m_model.title(), m_model.authTitle(), QString::number(m_model.canCheckForUpdates())};
    for (const RecentSite& site : recent) {
        entries.append(site.name);
    }
    // A menu that is the same is not sent to the panel again with every poll.
    if (std::exchange(m_menuEntries, entries) == entries) {
        return;
    }
    m_menu.clear();
    m_menu.addAction(m_model.title())->setEnabled(false);
    m_menu.addSeparator();
    for (int row = 0; row < recent.size(); ++row) {
        connect(m_menu.addAction(recent[row].name), &QAction::triggered, &m_model,
                [this, row] { m_model.openSite(row); });
    }
    m_menu.addSeparator();
    connect(m_menu.addAction(QStringLiteral("Open Driftwell")), &QAction::triggered, &m_model,
            &MenuBarModel::openWindow);
    connect(m_menu.addAction(QStringLiteral("Settings…")), &QAction::triggered, &m_model, &MenuBarModel::openSettings);
    if (!m_model.authTitle().isEmpty()) {
        connect(m_menu.addAction(m_model.authTitle()), &QAction::triggered, &m_model, &MenuBarModel::runAuthAction);
    }
    if (m_model.updatesEnabled()) {
        QAction* const check = m_menu.addAction(QStringLiteral("Check for Updates…"));
        check->setEnabled(m_model.canCheckForUpdates());
        connect(check, &QAction::triggered, &m_model, &MenuBarModel::checkForUpdates);
    }
    connect(m_menu.addAction(QStringLiteral("Quit")), &QAction::triggered, &m_model, &MenuBarModel::quit);
}

} // namespace driftwell
