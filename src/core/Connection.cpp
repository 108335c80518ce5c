#include "core/Connection.h"

#include "core/Catalog.h"
#include "platform/PlatformClient.h"
#include "platform/PlatformError.h"
#include "support/Cancellation.h"
#include "support/Concurrency.h"
#include "support/WhileAlive.h"
#include "tooling/LocalServerController.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <utility>

namespace driftwell {

namespace {

using std::chrono::seconds;
using Kind = Connection::Status::Kind;

constexpr int retrySeconds = 8;

std::chrono::seconds pause(Kind status) {
    switch (status) {
    case Kind::Connected:
    case Kind::NoHost:
        return seconds(10);
    case Kind::Connecting:
        return seconds(1);
    case Kind::NotTeam:
    case Kind::SignedOut:
        return seconds(5);
    case Kind::Unreachable:
        return seconds(retrySeconds);
    }
    Q_UNREACHABLE();
}

/// What a person reads of a failure to reach the platform. One that has answered has not failed to.
QString outageOf(const std::exception& failure) {
    const auto* const platform = dynamic_cast<const PlatformError*>(&failure);
    const bool hasAnswered = platform != nullptr && platform->kind() == PlatformError::Kind::Api;
    return (hasAnswered ? QStringLiteral("It answered with an error: ") : QString()) + describe(failure);
}

/// One question of a refresh: it is asked with what the catalog knows of its answer, and its answer goes to the catalog
/// if it still counts.
template <class Record>
Step<Fetched<Record>>
question(PlatformClient& client,
         Task<Fetched<Record>> (PlatformClient::*call)(PlatformConfig, KnownBytes, std::stop_token),
         const Connection::Session& session, const QPointer<Connection>& connection, Catalog& catalog) {
    const Job<Fetched<Record>> fetch = [&client, call, config = session.config,
                                        known = catalog.known<Record>()](std::stop_token stop) {
        return (client.*call)(config, known, std::move(stop));
    };
    const auto keep = [session, connection, &catalog](Fetched<Record> fetched) {
        if (!connection) {
            throw OwnerGone();
        }
        connection->requireCurrent(session);
        catalog.store(std::move(fetched));
    };
    return {fetch, keep};
}

} // namespace

Connection::Connection(PlatformClient& client, Catalog& catalog, Sleeper sleep)
    : m_client(client), m_catalog(catalog), m_sleep(std::move(sleep)) {}

Connection::~Connection() = default;

void Connection::start() {
    if (!std::exchange(m_started, true)) {
        m_tasks.run(refreshLoop());
    }
}

std::optional<Connection::Session> Connection::session() const {
    const std::optional<PlatformConfig> config = m_config;
    return config ? std::optional(Session{*config, m_client.store().token(*config)}) : std::nullopt;
}

void Connection::requireCurrent(const Session& session) const {
    if (this->session() != session) {
        throw Cancelled();
    }
}

Task<> Connection::end() {
    return m_tasks.end();
}

void Connection::reloadConfig() {
    const ConfigStore& store = m_client.store();
    const std::optional<QString> host = store.resolveHost();
    m_wasReached = false;
    m_config = host ? std::optional<PlatformConfig>(*host) : std::nullopt;
    m_status = host ? Status::connecting() : Status::noHost();
    const std::optional<QString> repo = store.localRepoPath();
    m_localRepo = repo ? std::optional<std::filesystem::path>(repo->toStdString()) : std::nullopt;
}

void Connection::use(const PlatformConfig& config) {
    m_wasReached = false;
    if (m_config.value() != config) {
        m_catalog.expectOtherSites();
    }
    m_config = config;
    m_status = Status::connecting();
}

void Connection::setHost(const QString& host) {
    const QString trimmed = host.trimmed();
    if (trimmed.isEmpty()) {
        return;
    }
    try {
        m_client.store().saveConfig({{"host", trimmed.toStdString()}});
    } catch (const std::exception&) {
        // The platform holds for this run and is forgotten at the next start.
    }
    use(PlatformConfig(trimmed));
    refresh();
}

void Connection::enter(const PlatformConfig& config, const Identity& person) {
    if (m_config.value() == config) {
        m_identity = person;
    }
    m_status = Status::connecting();
}

void Connection::leave() {
    m_identity = std::nullopt;
    m_status = Status::signedOut();
    m_catalog.clear();
}

Task<> Connection::refresh(std::stop_token stop) {
    return m_tasks.run(ask(std::move(stop)));
}

Task<> Connection::ask(std::stop_token stop) {
    const std::optional<Session> present = session();
    if (!present) {
        m_status = Status::noHost();
        co_return;
    }
    if (!present->config.isLocal() && !present->token) {
        leave();
        co_return;
    }
    const StopScope either(std::move(stop), m_tasks.token());
    try {
        co_await whileAlive(this, askAs(*present, either.token()));
    } catch (const Cancelled&) {
        // The status stays as it was.
        throw;
    } catch (const std::exception& failure) {
        settleFailure(*present, failure);
        co_return;
    }
    if (m_follow) {
        co_await whileAlive(this, m_follow(either.token()));
    }
}

Task<> Connection::askAs(Session session, std::stop_token stop) {
    if (!m_identity.value()) {
        const std::optional<Identity> person = co_await whileAlive(this, m_client.me(session.config, stop));
        requireCurrent(session);
        m_identity = person;
    }
    co_await whileAlive(this, fetchLists(session, stop));
    requireCurrent(session);
    m_lastSync = now();
    m_wasReached = true;
    m_outage = std::nullopt;
    m_status = Status::connected();
    Q_EMIT refreshed();
}

Task<> Connection::fetchLists(Session session, std::stop_token stop) {
    return allOf(std::move(stop), question(m_client, &PlatformClient::sites, session, this, m_catalog),
                 question(m_client, &PlatformClient::stats, session, this, m_catalog),
                 question(m_client, &PlatformClient::libs, session, this, m_catalog));
}

void Connection::settleFailure(const Session& asked, const std::exception& failure) {
    const auto* const platform = dynamic_cast<const PlatformError*>(&failure);
    const auto isOf = [platform](PlatformError::Kind kind) {
        return platform != nullptr && platform->kind() == kind;
    };
    const bool isPresent = session() == asked;
    // A newer token than the refused one stays.
    if (isOf(PlatformError::Kind::Unauthenticated) && m_client.store().token(asked.config) == asked.token) {
        m_client.store().signOut(asked.config);
    }
    if (!isPresent) {
        return;
    }
    if (isOf(PlatformError::Kind::Unauthenticated)) {
        leave();
    } else if (isOf(PlatformError::Kind::NotTeam)) {
        // The status first: a screen that is connected to no sites would say so for a moment.
        m_status = Status::notTeam(platform->description());
        m_catalog.clear();
    } else {
        settleOutage(failure);
    }
}

void Connection::settleOutage(const std::exception& failure) {
    const std::optional<PlatformConfig> config = m_config;
    const std::optional<std::filesystem::path> repo = m_localRepo;
    if (m_localServer && config && config->isLocal() && repo) {
        m_localServer->startIfNeeded(*repo, config->origin());
    }
    const bool isComingUp = m_localServer && m_localServer->phase().isComingUp();
    // Before the status, with which it is shown.
    m_outage = outageOf(failure);
    m_status = isComingUp ? Status::connecting() : Status::unreachable(retrySeconds);
}

Task<> Connection::refreshLoop() {
    const std::stop_token stop = m_tasks.token();
    while (!stop.stop_requested()) {
        m_isRetrying = m_status.value().kind == Kind::Unreachable;
        co_await whileAlive(this, refresh(stop));
        m_isRetrying = false;
        co_await whileAlive(this, waitForNextRefresh(stop));
    }
}

void Connection::retryNow() {
    if (m_wait) {
        // The wait ends within this, and takes its own away.
        std::stop_source wait = *m_wait;
        wait.request_stop();
    }
}

Task<> Connection::waitForNextRefresh(std::stop_token stop) {
    m_wait.emplace();
    const StopScope either(stop, m_wait->get_token());
    try {
        co_await whileAlive(this, waitAsStatusSays(either.token()));
    } catch (const OwnerGone&) {
        throw;
    } catch (const Cancelled&) {
        throwIfCancelled(stop);
        if (m_status.value().kind == Kind::Unreachable) {
            m_status = Status::unreachable(0);
        }
    }
    m_wait.reset();
}

Task<> Connection::waitAsStatusSays(std::stop_token stop) {
    const Status status = m_status;
    if (status.kind == Kind::Unreachable) {
        return countDown(std::move(stop));
    }
    return m_sleep(pause(status.kind), std::move(stop));
}

Task<> Connection::countDown(std::stop_token stop) {
    for (int left = retrySeconds; left >= 1; --left) {
        throwIfCancelled(stop);
        // Whatever another operation has made of the status meanwhile: the refresh that follows settles it.
        m_status = Status::unreachable(left);
        co_await whileAlive(this, m_sleep(seconds(1), stop));
    }
}

} // namespace driftwell
