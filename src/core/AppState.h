#pragma once

#include "core/SiteLists.h"
#include "deploy/DeployFlow.h"
#include "desktop/DesktopServices.h"
#include "platform/Models.h"
#include "platform/PlatformClient.h"
#include "platform/PlatformConfig.h"
#include "platform/Timestamp.h"
#include "support/Concurrency.h"
#include "support/Sleep.h"
#include "support/Task.h"
#include "support/TaskGroup.h"

#include <QMap>
#include <QObject>
#include <QProperty>
#include <QSet>
#include <QSettings>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

namespace driftwell {

/// The single observable model of the application: what is known of the connected platform and the state of every long
/// operation. Screens and the command-line tool read its fields and call its methods; only its methods write them.
///
/// Confined to the main thread: every task that it starts resumes there, and no lock guards it. A field's signal is
/// emitted only when its value really changes. What it started ends when it goes.
class AppState final : public QObject {
    Q_OBJECT

public:
    /// The connection to the platform as a whole.
    ///
    /// | status | meaning | what comes next |
    /// |---|---|---|
    /// | Unreachable | the last attempt failed | another in `retryIn` seconds |
    /// | NotTeam | the platform refuses this person, in the words of `text` | another attempt every 5 seconds |
    /// | NoHost | no platform is configured | setHost() |
    /// | Connecting | a connection is being made or awaited | the refresh under way decides |
    /// | Connected | the last refresh succeeded | another every 10 seconds |
    /// | SignedOut | no token, or one that the platform refuses | another attempt every 5 seconds |
    struct Status {
        enum class Kind { Unreachable, NotTeam, NoHost, Connecting, Connected, SignedOut };

        Kind kind = Kind::Connecting;
        /// Seconds, for Unreachable.
        int retryIn = 0;
        /// For NotTeam.
        QString text;

        [[nodiscard]] static Status unreachable(int retryIn) { return {Kind::Unreachable, retryIn, {}}; }
        [[nodiscard]] static Status notTeam(QString text) { return {Kind::NotTeam, 0, std::move(text)}; }
        [[nodiscard]] static Status noHost() { return {Kind::NoHost, 0, {}}; }
        [[nodiscard]] static Status connecting() { return {Kind::Connecting, 0, {}}; }
        [[nodiscard]] static Status connected() { return {Kind::Connected, 0, {}}; }
        [[nodiscard]] static Status signedOut() { return {Kind::SignedOut, 0, {}}; }

        bool operator==(const Status&) const = default;
    };

    /// `desktop` outlives the model. `defaults` is the person's key-value store. No work starts before start().
    AppState(std::unique_ptr<PlatformClient> client, DesktopServices& desktop, std::unique_ptr<QSettings> defaults,
             Sleeper sleep = sleepFor);
    ~AppState() override;

    [[nodiscard]] std::optional<PlatformConfig> config() const { return m_config; }
    [[nodiscard]] Status status() const { return m_status; }
    [[nodiscard]] std::optional<Identity> identity() const { return m_identity; }
    /// In the platform's order.
    [[nodiscard]] QList<SiteInfo> sites() const { return m_sites; }
    [[nodiscard]] QList<LibInfo> libs() const { return m_libs; }
    [[nodiscard]] std::optional<StatsResponse> stats() const { return m_stats; }
    /// When the last refresh succeeded.
    [[nodiscard]] std::optional<Timestamp> lastSync() const { return m_lastSync; }
    [[nodiscard]] SortOrder sortOrder() const { return m_sortOrder; }
    void setSortOrder(SortOrder order) { m_sortOrder = order; }
    [[nodiscard]] QString filter() const { return m_filter; }
    void setFilter(const QString& filter) { m_filter = filter; }
    /// The platform's own checkout on this machine.
    [[nodiscard]] std::optional<std::filesystem::path> localRepo() const { return m_localRepo; }
    /// The first run's introduction is to be shown. The variable DW_ONBOARDING=1 asks for it again.
    [[nodiscard]] bool needsOnboarding() const { return m_needsOnboarding; }
    /// A browser sign-in is running.
    [[nodiscard]] bool isSigningIn() const { return m_isSigningIn; }
    /// Why the last sign-in failed.
    [[nodiscard]] std::optional<QString> signInError() const { return m_signInError; }

    /// The deployment in progress or on screen.
    [[nodiscard]] std::shared_ptr<DeployFlow> deployFlow() const { return m_deployFlow; }

    // Operations on existing sites: what is under way, by the site's name (for a library the site's name, "/" and the
    // library's), and the text of each kind's last failure. A later success clears the failures of libraries and
    // access; the others stay until a person has seen them.
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
    /// The versions of each site whose history was loaded, the newest first.
    using DeployHistory = QMap<QString, QList<LogEntry>>;
    [[nodiscard]] DeployHistory deployHistory() const { return m_deployHistory; }
    /// The site whose history is loaded again after its deployments and rollbacks.
    [[nodiscard]] std::optional<QString> expandedSite() const { return m_expandedSite; }
    void setExpandedSite(const std::optional<QString>& site) { m_expandedSite = site; }

    [[nodiscard]] PlatformClient& client() { return *m_client; }

    // Derived from the sites.
    [[nodiscard]] QList<SiteInfo> filteredSites() const;
    [[nodiscard]] QList<SiteInfo> recentSites() const;
    [[nodiscard]] bool isDeploying() const;
    [[nodiscard]] std::optional<QString> deployingSiteName() const;
    /// The site of exactly this name.
    [[nodiscard]] std::optional<SiteInfo> existingSite(const QString& name) const;

    /// Reads the configuration and starts the polling that keeps the model current. Later calls do nothing.
    void start();

    /// For the end of the process: stops everything that runs in the background and resumes when all of it has ended,
    /// the temporary files of a deployment gone. What waits for the person does not count. Called once; nothing is
    /// asked of the model afterwards.
    Task<> end();

    /// Reads the host and the local checkout from the environment and the session file.
    void reloadConfig();

    /// Connects to the platform that the person typed and remembers it. Does nothing for blanks. A failure to write is
    /// not reported; the platform then holds for this run.
    void setHost(const QString& host);

    /// One round of questions to the platform; its outcome is the status. Throws nothing. Refreshes may overlap; the
    /// last to write wins. A stopped one leaves the status as it was.
    Task<> refresh(std::stop_token stop = {});

    // Operations on existing sites. Without a platform they do nothing. They throw nothing, and the model changes only
    // after the platform has answered. They do not refuse to overlap; whoever offers them looks at what is in flight.

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

    /// Opens the site in the browser. Does nothing for an address that is none for a browser.
    void openSite(const SiteInfo& site);

    /// Shows the folder that the site was last published from, if it is remembered, whether it is still there or not.
    void revealFolder(const QString& site);

    /// Asks for a folder and opens a deployment of it.
    void chooseFolderAndDeploy();

    /// Opens a deployment in the phase Confirm. Does nothing when the path is no folder, and while another deployment
    /// asks for its name or runs.
    void beginDeploy(const std::filesystem::path& folder);

    /// Starts the work of the open deployment. Does nothing unless a platform is configured, the flow is in the phase
    /// Confirm and its name is valid just as it stands.
    void confirmDeploy();

    /// Ends the open deployment in any phase, at once; its work stops in the background.
    void cancelDeploy();

    /// Signs in through the browser, and refreshes. Does nothing without a platform, and while a sign-in is running.
    void signIn();

    /// Ends the running sign-in at once; its work stops in the background and leaves no message.
    void cancelSignIn();

    /// Forgets the platform's token, the person and what was fetched for them, and ends a running sign-in. Does nothing
    /// without a platform.
    void signOut();

    /// The introduction has been gone through and is not shown again.
    void completeOnboarding();

Q_SIGNALS:
    void configChanged();
    void statusChanged();
    void identityChanged();
    void sitesChanged();
    void libsChanged();
    void statsChanged();
    void lastSyncChanged();
    void sortOrderChanged();
    void filterChanged();
    void localRepoChanged();
    void deployFlowChanged();
    /// A deployment has begun or ended; see isDeploying() and deployingSiteName().
    void isDeployingChanged();
    void rollbacksInFlightChanged();
    void rollbackErrorChanged();
    void deletesInFlightChanged();
    void deleteErrorChanged();
    void libTogglesInFlightChanged();
    void libToggleErrorChanged();
    void accessInFlightChanged();
    void accessErrorChanged();
    void deployHistoryChanged();
    void expandedSiteChanged();
    void isSigningInChanged();
    void signInErrorChanged();
    void needsOnboardingChanged();

private:
    /// The bytes from which the lists were decoded, so that an answer that brings the same ones costs a comparison.
    struct KnownAnswers {
        QByteArray sites;
        QByteArray stats;
        QByteArray libs;
    };

    Task<> refreshLoop(std::stop_token stop);
    Task<> waitForNextRefresh(std::stop_token stop);
    Task<> countDown(std::stop_token stop);

    template <class Response>
    using FetchCall = Task<Fetched<Response>> (PlatformClient::*)(PlatformConfig, QByteArray, std::stop_token);
    template <class Response>
    Step<Fetched<Response>> fetchStep(FetchCall<Response> call, const PlatformConfig& config,
                                      QByteArray KnownAnswers::*known, void (AppState::*store)(const Response&));
    Task<> fetchLists(const PlatformConfig& config, std::stop_token stop);
    void storeSites(const SitesResponse& response);
    void storeStats(const StatsResponse& response);
    void storeLibs(const LibsResponse& response);
    void settleFailure(const PlatformConfig& config, const std::exception& failure);
    void signOutLocally();
    void clearPlatformData();
    void requestStop();
    [[nodiscard]] std::stop_token lifetime() const { return m_lifetime.get_token(); }

    /// Of the sites that are known now.
    [[nodiscard]] SiteLists& siteLists() const;
    void changeSites(const QList<SiteInfo>& sites);
    void changeSite(const QString& name, const std::function<void(SiteInfo&)>& change);
    void forgetSite(const QString& name);
    Task<> fetchDeployHistory(QString site, std::stop_token stop);
    Task<> reloadExpandedHistory(QString site, std::stop_token stop);

    Task<> chooseFolder();
    Task<> endDeployments();
    Task<> countFiles(std::shared_ptr<DeployFlow> flow);
    Task<> publish(std::shared_ptr<DeployFlow> flow, QString site, PlatformConfig config, std::stop_token stop);

    Task<> runSignIn(PlatformConfig config, std::stop_token stop);
    Task<> enter(PlatformConfig config, std::stop_token stop);
    [[nodiscard]] bool isRunningSignIn(const std::stop_token& stop) const;

    std::unique_ptr<PlatformClient> m_client;
    DesktopServices& m_desktop;
    Sleeper m_sleep;
    std::unique_ptr<QSettings> m_defaults;
    std::stop_source m_lifetime;
    TaskGroup m_background;
    bool m_started = false;
    std::optional<std::stop_source> m_deployTask;
    /// Those that may still be worked on, cancelled ones among them.
    std::vector<std::weak_ptr<DeployFlow>> m_startedFlows;
    std::optional<std::stop_source> m_signInTask;
    KnownAnswers m_known;
    mutable SiteLists m_siteLists;

    Q_OBJECT_BINDABLE_PROPERTY(AppState, std::optional<PlatformConfig>, m_config, &AppState::configChanged)
    Q_OBJECT_BINDABLE_PROPERTY(AppState, AppState::Status, m_status, &AppState::statusChanged)
    Q_OBJECT_BINDABLE_PROPERTY(AppState, std::optional<Identity>, m_identity, &AppState::identityChanged)
    Q_OBJECT_BINDABLE_PROPERTY(AppState, QList<SiteInfo>, m_sites, &AppState::sitesChanged)
    Q_OBJECT_BINDABLE_PROPERTY(AppState, QList<LibInfo>, m_libs, &AppState::libsChanged)
    Q_OBJECT_BINDABLE_PROPERTY(AppState, std::optional<StatsResponse>, m_stats, &AppState::statsChanged)
    Q_OBJECT_BINDABLE_PROPERTY(AppState, std::optional<Timestamp>, m_lastSync, &AppState::lastSyncChanged)
    Q_OBJECT_BINDABLE_PROPERTY(AppState, SortOrder, m_sortOrder, &AppState::sortOrderChanged)
    Q_OBJECT_BINDABLE_PROPERTY(AppState, QString, m_filter, &AppState::filterChanged)
    Q_OBJECT_BINDABLE_PROPERTY(AppState, std::optional<std::filesystem::path>, m_localRepo, &AppState::localRepoChanged)
    Q_OBJECT_BINDABLE_PROPERTY(AppState, std::shared_ptr<DeployFlow>, m_deployFlow, &AppState::deployFlowChanged)

    Q_OBJECT_BINDABLE_PROPERTY(AppState, QSet<QString>, m_rollbacksInFlight, &AppState::rollbacksInFlightChanged)
    Q_OBJECT_BINDABLE_PROPERTY(AppState, std::optional<QString>, m_rollbackError, &AppState::rollbackErrorChanged)
    Q_OBJECT_BINDABLE_PROPERTY(AppState, QSet<QString>, m_deletesInFlight, &AppState::deletesInFlightChanged)
    Q_OBJECT_BINDABLE_PROPERTY(AppState, std::optional<QString>, m_deleteError, &AppState::deleteErrorChanged)
    Q_OBJECT_BINDABLE_PROPERTY(AppState, QSet<QString>, m_libTogglesInFlight, &AppState::libTogglesInFlightChanged)
    Q_OBJECT_BINDABLE_PROPERTY(AppState, std::optional<QString>, m_libToggleError, &AppState::libToggleErrorChanged)
    Q_OBJECT_BINDABLE_PROPERTY(AppState, QSet<QString>, m_accessInFlight, &AppState::accessInFlightChanged)
    Q_OBJECT_BINDABLE_PROPERTY(AppState, std::optional<QString>, m_accessError, &AppState::accessErrorChanged)
    Q_OBJECT_BINDABLE_PROPERTY(AppState, AppState::DeployHistory, m_deployHistory, &AppState::deployHistoryChanged)
    Q_OBJECT_BINDABLE_PROPERTY(AppState, std::optional<QString>, m_expandedSite, &AppState::expandedSiteChanged)
    Q_OBJECT_BINDABLE_PROPERTY(AppState, bool, m_isSigningIn, &AppState::isSigningInChanged)
    Q_OBJECT_BINDABLE_PROPERTY(AppState, std::optional<QString>, m_signInError, &AppState::signInErrorChanged)
    Q_OBJECT_BINDABLE_PROPERTY(AppState, bool, m_needsOnboarding, &AppState::needsOnboardingChanged)
};

} // namespace driftwell
