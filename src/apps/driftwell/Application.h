#pragma once

#include "apps/driftwell/DeployNotices.h"
#include "apps/driftwell/Invocation.h"
#include "apps/driftwell/MainWindow.h"
#include "apps/driftwell/MergeNotices.h"
#include "apps/driftwell/SettingsWindow.h"
#include "apps/driftwell/TrayItem.h"
#include "apps/driftwell/Updates.h"
#include "desktop/freedesktop/Notification.h"
#include "desktop/freedesktop/SessionEnd.h"
#include "desktop/freedesktop/TrayHost.h"
#include "desktop/WindowServices.h"
#include "support/Task.h"
#include "ui/tray/MenuBarModel.h"

#include <QDBusConnection>
#include <QObject>

#include <memory>

namespace driftwell {

class AppState;

/// The running application: the tray item and the window on one model, from start to quit.
class Application final : public QObject {
    Q_OBJECT

public:
    /// `state` and `desktop` outlive the application.
    Application(AppState& state, WindowServices& desktop, QDBusConnection sessionBus = QDBusConnection::sessionBus());
    ~Application() override;

    /// Does what the first start asks for.
    void begin(const Invocation& invocation);

    /// Does what a further start asks for, which hands over `activationToken`, empty where it has none.
    void handle(const Invocation& invocation, const QByteArray& activationToken);

    /// The person wants the application to end: it does, unless something is under way; then it asks in the window.
    void askToQuit();

    /// Ends the application when what it is doing has come to its end: a running deployment is cancelled and leaves
    /// nothing behind. A second call does nothing.
    void quit();

    [[nodiscard]] MainWindow& window() { return m_window; }
    [[nodiscard]] SettingsWindow& settings() { return m_settings; }

private:
    Task<> endAndQuit();
    /// Asks in the window before a sign-out while something is under way; gives whether it does.
    bool asksBeforeSignOut();
    void showWindow(const QByteArray& activationToken = {});
    void showSettings();
    /// The person has signed in with the browser and wants to go on here.
    void followSignIn();
    void followClosedWindow();
    void sayThatItRuns();
    void runAction(const QString& key, const QByteArray& activationToken);

    AppState& m_state;
    QDBusConnection m_sessionBus;
    TrayHost m_trayHost;
    Updates m_updates;
    MenuBarModel m_menuBar;
    MainWindow m_window;
    SettingsWindow m_settings;
    TrayItem m_tray;
    MergeNotices m_mergeNotices;
    DeployNotices m_deployNotices;
    SessionEnd m_sessionEnd;
    bool m_isQuitting = false;
    /// That the application goes on although nothing of it is to be seen; null while it is not said.
    std::unique_ptr<Notification> m_sign;
    bool m_wasSaid = false;
};

} // namespace driftwell
