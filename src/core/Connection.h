#pragma once

#include "core/ConnectionStatus.h"
#include "platform/Models.h"
#include "platform/PlatformConfig.h"
#include "platform/Timestamp.h"
#include "support/Sleep.h"
#include "support/Task.h"
#include "support/TaskGroup.h"

#include <QObject>
#include <QProperty>

#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <utility>

namespace driftwell {

class Catalog;
class LocalServerController;
class PlatformClient;
class PlatformError;

/// The connection to the platform: which one it is, who we are there, how it stands, and the polling that keeps it and
/// the catalog current. Confined to the main thread.
class Connection final : public QObject {
    Q_OBJECT

public:
    using Status = ConnectionStatus;

    /// Whose answers count: a platform, and the token that it was asked with. An answer to another session than the
    /// present one is discarded.
    struct Session {
        PlatformConfig config;
        std::optional<QString> token;
        bool operator==(const Session&) const = default;
    };

    /// The client and the catalog outlive the connection. No work starts before start() or an operation.
    Connection(PlatformClient& client, Catalog& catalog, Sleeper sleep = sleepFor);
    ~Connection() override;

    [[nodiscard]] std::optional<PlatformConfig> config() const { return m_config; }
    [[nodiscard]] Status status() const { return m_status; }
    /// Why the last attempt to reach the platform failed, in words for a person; absent since one did not.
    [[nodiscard]] std::optional<QString> outage() const { return m_outage; }
    /// The platform has answered since it is this one. One that never did may not be the one that is meant.
    [[nodiscard]] bool wasReached() const { return m_wasReached; }
    /// A platform that was out of reach is being asked again.
    [[nodiscard]] bool isRetrying() const { return m_isRetrying; }
    [[nodiscard]] std::optional<Identity> identity() const { return m_identity; }
    /// When the last refresh succeeded.
    [[nodiscard]] std::optional<Timestamp> lastSync() const { return m_lastSync; }
    /// The platform's own checkout on this machine.
    [[nodiscard]] std::optional<std::filesystem::path> localRepo() const { return m_localRepo; }

    /// From now on an unreachable platform on this machine is started from its checkout, and while it comes up the
    /// status is Connecting. The server outlives the refreshes.
    void bootWith(LocalServerController& server) { m_localServer = &server; }

    /// From now on a refresh that has succeeded ends with this, the status Connected already. It throws nothing.
    void followRefreshWith(std::function<Task<>(std::stop_token)> follow) { m_follow = std::move(follow); }

    /// Absent without a platform.
    [[nodiscard]] std::optional<Session> session() const;

    /// Throws Cancelled when the session is not the present one any more.
    void requireCurrent(const Session& session) const;

    /// Starts the polling. Later calls do nothing.
    void start();

    /// Stops the polling and every refresh, and resumes when they have ended.
    Task<> end();

    /// Reads the host and the local checkout from the environment and the session file.
    void reloadConfig();

    /// Connects to a platform for this run, whatever is configured, and asks it nothing yet.
    void use(const PlatformConfig& config);

    /// Connects to the platform that the person typed and remembers it. Does nothing for blanks. A failure to write is
    /// not reported; the platform then holds for this run.
    void setHost(const QString& host);

    /// One round of questions to the platform; its outcome is the status. Throws nothing. Refreshes may overlap; the
    /// last to write wins. A stopped one leaves the status as it was.
    Task<> refresh(std::stop_token stop = {});

    /// The next refresh of the polling begins at once. Does nothing while one is under way.
    void retryNow();

    /// A person has signed in to a platform; a refresh is to follow. They are nobody on another platform, if that is
    /// the one by now.
    void enter(const PlatformConfig& config, const Identity& person);

    /// Forgets the person and what was fetched for them.
    void leave();

Q_SIGNALS:
    void configChanged();
    void statusChanged();
    void outageChanged();
    void isRetryingChanged();
    void identityChanged();
    void lastSyncChanged();
    void localRepoChanged();
    /// A refresh has succeeded and all of it is in place.
    void refreshed();

private:
    Task<> refreshLoop();
    Task<> waitForNextRefresh(std::stop_token stop);
    Task<> waitAsStatusSays(std::stop_token stop);
    Task<> countDown(std::stop_token stop);
    Task<> ask(std::stop_token stop);
    Task<> askAs(Session session, std::stop_token stop);
    Task<> fetchLists(Session session, std::stop_token stop);
    void settleFailure(const Session& asked, const std::exception& failure);
    void settleOutage(const std::exception& failure);

    PlatformClient& m_client;
    Catalog& m_catalog;
    Sleeper m_sleep;
    LocalServerController* m_localServer = nullptr;
    std::function<Task<>(std::stop_token)> m_follow;
    bool m_started = false;
    bool m_wasReached = false;
    TaskGroup m_tasks;
    /// Ends the wait for the next refresh; present during one.
    std::optional<std::stop_source> m_wait;

    Q_OBJECT_BINDABLE_PROPERTY(Connection, std::optional<PlatformConfig>, m_config, &Connection::configChanged)
    Q_OBJECT_BINDABLE_PROPERTY(Connection, Connection::Status, m_status, &Connection::statusChanged)
    Q_OBJECT_BINDABLE_PROPERTY(Connection, std::optional<QString>, m_outage, &Connection::outageChanged)
    Q_OBJECT_BINDABLE_PROPERTY_WITH_ARGS(Connection, bool, m_isRetrying, false, &Connection::isRetryingChanged)
    Q_OBJECT_BINDABLE_PROPERTY(Connection, std::optional<Identity>, m_identity, &Connection::identityChanged)
    Q_OBJECT_BINDABLE_PROPERTY(Connection, std::optional<Timestamp>, m_lastSync, &Connection::lastSyncChanged)
    Q_OBJECT_BINDABLE_PROPERTY(Connection, std::optional<std::filesystem::path>, m_localRepo,
                               &Connection::localRepoChanged)
};

} // namespace driftwell
