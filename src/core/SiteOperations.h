#pragma once

#include "platform/Models.h"
#include "support/Task.h"
#include "support/TaskGroup.h"

#include <QObject>
#include <QProperty>
#include <QSet>

#include <optional>
#include <stop_token>

namespace driftwell {

class Catalog;
class Connection;
class DesktopServices;
class PlatformClient;

/// What is done with existing sites: what is under way, by the site's name (for a library the site's name, "/" and the
/// library's), and the text of each kind's last failure. A later success clears the failures of libraries and access;
/// the others stay until a person has seen them. Confined to the main thread.
///
/// Without a platform the operations do nothing. They throw nothing, and the catalog changes only after the platform
/// has answered. They do not refuse to overlap; whoever offers them looks at what is in flight.
class SiteOperations final : public QObject {
    Q_OBJECT

public:
    /// All of these outlive this.
    SiteOperations(PlatformClient& client, Connection& connection, Catalog& catalog, DesktopServices& desktop);
    ~SiteOperations() override;

    [[nodiscard]] QSet<QString> rollbacksInFlight() const { return m_rollbacksInFlight; }
    [[nodiscard]] std::optional<QString> rollbackError() const { return m_rollbackError; }
    void clearRollbackError() { m_rollbackError = std::nullopt; }
    [[nodiscard]] QSet<QString> deletesInFlight() const { return m_deletesInFlight; }
    [[nodiscard]] std::optional<QString> deleteError() const { return m_deleteError; }
    void clearDeleteError() { m_deleteError = std::nullopt; }
    [[nodiscard]] QSet<QString> libTogglesInFlight() const { return m_libTogglesInFlight; }
    [[nodiscard]] std::optional<QString> libToggleError() const { return m_libToggleError; }
    [[nodiscard]] QSet<QString> accessInFlight() const { return m_accessInFlight; }
    [[nodiscard]] std::optional<QString> accessError() const { return m_accessError; }

    /// Makes the version before the live one. A second rollback takes the first one back.
    Task<> rollback(SiteInfo site);

    /// Deletes the site for good. The folder that it was published from stays remembered.
    Task<> deleteSite(SiteInfo site);

    /// Switches a shared library of the site on or off.
    Task<> setLib(QString lib, bool enabled, QString site);

    /// Changes who may open the site and comment on it: what is given, and nothing when nothing is. The people invited
    /// are given whole.
    Task<> setAccess(QString site, std::optional<SiteAccessMode> mode, std::optional<QList<QString>> emails,
                     std::optional<bool> anyoneCanComment);

    /// Loads the site's history. A failure is not reported; what was loaded before then stays.
    Task<> loadDeployHistory(QString site);

    /// What follows a new live version of a site: a refresh, and its history if that is on screen.
    Task<> followNewVersion(QString site, std::stop_token stop);

    /// Opens the site in the browser. Does nothing for an address that is none for a browser.
    void openSite(const SiteInfo& site);

    /// The same for an address that the platform has just given to a site.
    void openAddress(const QString& url);

    /// Whether the folder is remembered that the site was last published from. Read afresh.
    [[nodiscard]] bool hasFolder(const QString& site) const;

    /// All sites whose folder is remembered. Read afresh.
    [[nodiscard]] QSet<QString> sitesWithFolder() const;

    /// Shows the folder that the site was last published from, if it is remembered, whether it is still there or not.
    void revealFolder(const QString& site);

    /// Stops every operation, and resumes when they have ended.
    Task<> end();

Q_SIGNALS:
    void rollbacksInFlightChanged();
    void rollbackErrorChanged();
    void deletesInFlightChanged();
    void deleteErrorChanged();
    void libTogglesInFlightChanged();
    void libToggleErrorChanged();
    void accessInFlightChanged();
    void accessErrorChanged();

private:
    Task<> runRollback(SiteInfo site);
    Task<> runDeleteSite(SiteInfo site);
    Task<> runSetLib(QString lib, bool enabled, QString site);
    Task<> runSetAccess(QString site, std::optional<SiteAccessMode> mode, std::optional<QList<QString>> emails,
                        std::optional<bool> anyoneCanComment);
    Task<> fetchDeployHistory(QString site, std::stop_token stop);
    Task<> refreshAndReload(QString site, std::stop_token stop);

    PlatformClient& m_client;
    Connection& m_connection;
    Catalog& m_catalog;
    DesktopServices& m_desktop;
    TaskGroup m_tasks;

    Q_OBJECT_BINDABLE_PROPERTY(SiteOperations, QSet<QString>, m_rollbacksInFlight,
                               &SiteOperations::rollbacksInFlightChanged)
    Q_OBJECT_BINDABLE_PROPERTY(SiteOperations, std::optional<QString>, m_rollbackError,
                               &SiteOperations::rollbackErrorChanged)
    Q_OBJECT_BINDABLE_PROPERTY(SiteOperations, QSet<QString>, m_deletesInFlight,
                               &SiteOperations::deletesInFlightChanged)
    Q_OBJECT_BINDABLE_PROPERTY(SiteOperations, std::optional<QString>, m_deleteError,
                               &SiteOperations::deleteErrorChanged)
    Q_OBJECT_BINDABLE_PROPERTY(SiteOperations, QSet<QString>, m_libTogglesInFlight,
                               &SiteOperations::libTogglesInFlightChanged)
    Q_OBJECT_BINDABLE_PROPERTY(SiteOperations, std::optional<QString>, m_libToggleError,
                               &SiteOperations::libToggleErrorChanged)
    Q_OBJECT_BINDABLE_PROPERTY(SiteOperations, QSet<QString>, m_accessInFlight, &SiteOperations::accessInFlightChanged)
    Q_OBJECT_BINDABLE_PROPERTY(SiteOperations, std::optional<QString>, m_accessError,
                               &SiteOperations::accessErrorChanged)
};

} // namespace driftwell
