#include "core/AppState.h"
#include "platform/PlatformError.h"
#include "platform/RecordDecoder.h"
#include "support/Cancellation.h"
#include "support/Concurrency.h"

#include <QPointer>

#include <chrono>

namespace driftwell {

namespace {

using std::chrono::seconds;

constexpr int retrySeconds = 8;

std::chrono::seconds pause(AppState::Status::Kind status) {
    switch (status) {
    case AppState::Status::Kind::Connected:
    case AppState::Status::Kind::NoHost:
        return seconds(10);
    case AppState::Status::Kind::Connecting:
        return seconds(1);
    case AppState::Status::Kind::NotTeam:
    case AppState::Status::Kind::SignedOut:
        return seconds(5);
    case AppState::Status::Kind::Unreachable:
        return seconds(retrySeconds);
    }
    Q_UNREACHABLE();
}

/// The record of an answer, or nothing when the model was decoded from the same bytes. The model may have been cleared
/// since the answer was compared; then it is decoded after all.
template <class Record> std::optional<Record> newRecord(Fetched<Record> fetched, const QByteArray& known) {
    if (fetched.record) {
        return std::move(fetched.record);
    }
    return fetched.bytes == known ? std::nullopt : std::optional(decodeRecord<Record>(fetched.bytes));
}

} // namespace

Task<> AppState::refresh(std::stop_token stop) {
    const QPointer<AppState> self(this);
    if (!m_config.value()) {
        m_status = Status::noHost();
        co_return;
    }
    const PlatformConfig config = *m_config.value();
    if (!config.isLocal() && !m_client->store().token(config)) {
        signOutLocally();
        co_return;
    }
    try {
        if (!m_identity.value()) {
            std::optional<Identity> identity = co_await m_client->me(config, stop);
            if (!self) {
                co_return;
            }
            m_identity = identity;
        }
        co_await fetchLists(config, stop);
        if (self) {
            m_lastSync = now();
            m_status = Status::connected();
        }
    } catch (const Cancelled&) {
        co_return;
    } catch (const std::exception& failure) {
        if (self) {
            settleFailure(config, failure);
        }
    }
}

template <class Response>
Step<Fetched<Response>> AppState::fetchStep(FetchCall<Response> call, const PlatformConfig& config,
                                            QByteArray KnownAnswers::*known, void (AppState::*store)(const Response&)) {
    PlatformClient* const client = m_client.get();
    const Job<Fetched<Response>> fetch = [client, call, config, bytes = m_known.*known](std::stop_token stop) {
        return (client->*call)(config, bytes, std::move(stop));
    };
    const auto keep = [self = QPointer<AppState>(this), known, store](Fetched<Response> fetched) {
        if (!self) {
            return;
        }
        const QByteArray bytes = fetched.bytes;
        if (const std::optional<Response> response = newRecord(std::move(fetched), self->m_known.*known)) {
            (self->*store)(*response);
            self->m_known.*known = bytes;
        }
    };
    return {fetch, keep};
}

Task<> AppState::fetchLists(const PlatformConfig& config, std::stop_token stop) {
    return allOf(std::move(stop),
                 fetchStep(&PlatformClient::sites, config, &KnownAnswers::sites, &AppState::storeSites),
                 fetchStep(&PlatformClient::stats, config, &KnownAnswers::stats, &AppState::storeStats),
                 fetchStep(&PlatformClient::libs, config, &KnownAnswers::libs, &AppState::storeLibs));
}

void AppState::storeSites(const SitesResponse& response) {
    m_sites = response.sites;
}

void AppState::storeStats(const StatsResponse& response) {
    m_stats = response;
}

void AppState::storeLibs(const LibsResponse& response) {
    m_libs = response.libs;
}

void AppState::settleFailure(const PlatformConfig& config, const std::exception& failure) {
    const auto* const platform = dynamic_cast<const PlatformError*>(&failure);
    if (platform != nullptr && platform->kind() == PlatformError::Kind::NotTeam) {
        // The status first: a screen that is connected to no sites would say so for a moment.
        m_status = Status::notTeam(platform->description());
        clearPlatformData();
    } else if (platform != nullptr && platform->kind() == PlatformError::Kind::Unauthenticated) {
        m_client->store().signOut(config);
        signOutLocally();
    } else {
        m_status = Status::unreachable(retrySeconds);
    }
}

void AppState::signOutLocally() {
    m_identity = std::nullopt;
    m_status = Status::signedOut();
    clearPlatformData();
}

Task<> AppState::refreshLoop(std::stop_token stop) {
    const QPointer<AppState> self(this);
    while (!stop.stop_requested()) {
        co_await refresh(stop);
        if (!self) {
            co_return;
        }
        try {
            co_await waitForNextRefresh(stop);
        } catch (const Cancelled&) {
            co_return;
        }
    }
}

Task<> AppState::waitForNextRefresh(std::stop_token stop) {
    const Status status = m_status;
    if (status.kind == Status::Kind::Unreachable) {
        return countDown(std::move(stop));
    }
    return m_sleep(pause(status.kind), std::move(stop));
}

Task<> AppState::countDown(std::stop_token stop) {
    const QPointer<AppState> self(this);
    for (int left = retrySeconds; left >= 1; --left) {
        if (!self || stop.stop_requested()) {
            throw Cancelled();
        }
        // Whatever another operation has made of the status meanwhile: the refresh that follows settles it.
        m_status = Status::unreachable(left);
        co_await m_sleep(seconds(1), stop);
    }
}

} // namespace driftwell
