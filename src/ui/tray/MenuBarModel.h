#pragma once

#include "platform/Timestamp.h"
#include "ui/tray/TrayTexts.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>
#include <QVariantList>

#include <functional>

namespace driftwell {

class Catalog;
class Connection;
class Deployments;
class LocalServerController;
class SignIn;
class SiteOperations;
class Updater;

/// One row of the tray panel's recent sites.
struct RecentSite {
    Q_GADGET
    Q_PROPERTY(QString name MEMBER name CONSTANT)
    Q_PROPERTY(QString age MEMBER age CONSTANT)
    Q_PROPERTY(bool deploying MEMBER deploying CONSTANT)
    Q_PROPERTY(bool publishable MEMBER publishable CONSTANT)
    QML_ANONYMOUS

public:
    QString name;
    /// How long ago it was deployed, in a few letters.
    QString age;
    bool deploying = false;
    /// Its folder is known and the platform takes one now.
    bool publishable = false;

    bool operator==(const RecentSite&) const = default;
};

/// The panel of the tray item: the state of the connection, the sites deployed last, and the few commands that need no
/// window. Its texts are those of the moment at which they are read.
class MenuBarModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made with the tray item")
    Q_PROPERTY(driftwell::Tones::Tone statusTone READ statusTone NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QString subtitle READ subtitle NOTIFY changed)
    Q_PROPERTY(QVariantList recentSites READ recentSiteRows NOTIFY changed)
    Q_PROPERTY(QString authTitle READ authTitle NOTIFY changed)
    Q_PROPERTY(bool updatesEnabled READ updatesEnabled CONSTANT)
    Q_PROPERTY(bool canCheckForUpdates READ canCheckForUpdates NOTIFY changed)

public:
    /// The parts outlive the model.
    MenuBarModel(Connection& connection, Catalog& catalog, Deployments& deployments, SiteOperations& operations,
                 SignIn& signIn, LocalServerController& localServer, Updater& updater);

    /// The rows for sites in this order, one of which may be being deployed.
    [[nodiscard]] static QList<RecentSite> recentSites(const QList<SiteInfo>& sites,
                                                       const std::optional<QString>& deploying, Timestamp now);

    [[nodiscard]] TrayIconKind icon() const { return trayIconKind(facts()); }
    [[nodiscard]] Tone statusTone() const { return trayTone(facts().status); }
    [[nodiscard]] QString title() const { return trayTitle(facts()); }
    [[nodiscard]] QString subtitle() const { return traySubtitle(facts()); }
    [[nodiscard]] QList<RecentSite> recentSites(Timestamp now) const;
    [[nodiscard]] QVariantList recentSiteRows() const;
    [[nodiscard]] AuthAction authAction() const { return driftwell::authAction(facts()); }
    /// Empty when nothing can be done about the account.
    [[nodiscard]] QString authTitle() const { return driftwell::authTitle(authAction()); }

    /// This copy looks for new versions.
    [[nodiscard]] bool updatesEnabled() const;
    [[nodiscard]] bool canCheckForUpdates() const;

    /// From now on this is asked before the person is signed out; true where it sees to that itself.
    void askBeforeSignOut(std::function<bool()> ask) { m_askBeforeSignOut = std::move(ask); }

    Q_INVOKABLE void openSite(int row);
    /// Opens the window on a deployment of the folder that the site came from.
    Q_INVOKABLE void publishAgain(int row);
    Q_INVOKABLE void openWindow() { Q_EMIT windowRequested(); }
    Q_INVOKABLE void openSettings() { Q_EMIT settingsRequested(); }
    Q_INVOKABLE void runAuthAction();
    Q_INVOKABLE void checkForUpdates();
    Q_INVOKABLE void quit() { Q_EMIT quitRequested(); }

Q_SIGNALS:
    void changed();
    void windowRequested();
    void settingsRequested();
    void quitRequested();

private:
    [[nodiscard]] TrayFacts facts() const;

    Connection& m_connection;
    Catalog& m_catalog;
    Deployments& m_deployments;
    SiteOperations& m_operations;
    SignIn& m_signIn;
    LocalServerController& m_localServer;
    Updater& m_updater;
    std::function<bool()> m_askBeforeSignOut;
};

} // namespace driftwell
