#include "platform/SentChange.h"

#include "platform/PlatformClient.h"
#include "platform/PlatformError.h"
#include "support/Cancellation.h"

#include <algorithm>
#include <array>

namespace driftwell {

namespace {

using Kind = ChangeOutcome::Kind;

constexpr int logLines = 50;

const SiteInfo* find(const QList<SiteInfo>& sites, const QString& name) {
    const auto found =
        std::find_if(sites.begin(), sites.end(), [&name](const SiteInfo& site) { return site.name == name; });
    return found == sites.end() ? nullptr : &*found;
}

std::optional<QString> headOf(const SiteInfo& site) {
    return site.collab ? site.collab->head : std::nullopt;
}

bool hasSameVersion(const SiteInfo& site, const SiteInfo& other) {
    return site.deployedAt == other.deployedAt && site.deployedBy == other.deployedBy &&
           site.lastAction == other.lastAction && headOf(site) == headOf(other);
}

/// Whether the platform's name for somebody, usually an e-mail address, means this person.
bool isNameOf(const Identity& person, const QString& name) {
    const std::array names{person.email, person.handle, person.name, person.id};
    return !name.isEmpty() && std::any_of(names.begin(), names.end(), [&name](const QString& known) {
        return known.compare(name, Qt::CaseInsensitive) == 0;
    });
}

/// Whether a new live version comes from such a change.
bool comesFrom(SentChange::Kind kind, const SiteInfo& site) {
    const auto action =
        kind == SentChange::Kind::Rollback ? SiteInfo::LastAction::Rollback : SiteInfo::LastAction::Deploy;
    return !site.lastAction || *site.lastAction == action;
}

/// Whether the log tells of the change, as one by this person after the version that was live before it.
bool isLogged(const SentChange& change, const LogsResponse& log) {
    const std::optional<QString> before = change.earlier ? change.earlier->deployedAt : std::nullopt;
    return std::any_of(log.entries.begin(), log.entries.end(), [&](const LogEntry& entry) {
        return entry.kind == LogEntry::Kind::Deploy &&
               isRollback(entry) == (change.kind == SentChange::Kind::Rollback) &&
               isNameOf(*change.person, entry.user) && (!before || entry.ts > *before);
    });
}

/// What one question to the platform has brought.
struct Glance {
    std::optional<ChangeOutcome> outcome = {};
    /// Nothing in the answer can mean that the change was made.
    bool isClear = false;
    /// Of the list, for the next question; empty where that is to look at it again, with the log.
    KnownBytes known = {};
};

/// Whether the site has another version than before, so that its log is worth a question.
bool hasChanged(const SentChange& change, const QList<SiteInfo>& sites) {
    const SiteInfo* const site = find(sites, change.site);
    return site != nullptr && !(change.earlier && hasSameVersion(*site, *change.earlier));
}

bool refusesUs(const PlatformError& failure) {
    return failure.kind() == PlatformError::Kind::Unauthenticated || failure.kind() == PlatformError::Kind::NotTeam;
}

Task<std::optional<LogsResponse>> logOf(PlatformClient& client, SentChange change, std::stop_token stop) {
    try {
        co_return co_await client.logs(change.config, change.site, logLines, stop);
    } catch (const PlatformError&) {
        co_return std::nullopt;
    }
}

Task<Glance> askOnce(PlatformClient& client, SentChange change, KnownBytes known, std::stop_token stop) {
    Task<Fetched<SitesResponse>> question = client.sites(change.config, known, stop);
    const Fetched<SitesResponse> answer = co_await std::move(question);
    Glance glance;
    if (!answer.record) {
        glance.isClear = true;
        glance.known = known;
        co_return glance;
    }
    const QList<SiteInfo> sites = answer.record->sites;
    std::optional<LogsResponse> log;
    const bool asksLog = change.kind != SentChange::Kind::Deletion && hasChanged(change, sites);
    if (asksLog) {
        Task<std::optional<LogsResponse>> logQuestion = logOf(client, change, stop);
        log = co_await std::move(logQuestion);
    }
    glance.outcome = outcomeIn(change, sites, log);
    glance.isClear = !asksLog || (change.isEarlierKnown && change.person && log);
    glance.known = glance.isClear && !asksLog ? KnownBytes(answer.bytes) : KnownBytes();
    co_return glance;
}

} // namespace

std::optional<ChangeOutcome> outcomeIn(const SentChange& change, const QList<SiteInfo>& sites,
                                       const std::optional<LogsResponse>& log) {
    const SiteInfo* const site = find(sites, change.site);
    if (change.kind == SentChange::Kind::Deletion) {
        return site == nullptr ? std::optional(ChangeOutcome{Kind::Done}) : std::nullopt;
    }
    if (site == nullptr || !change.isEarlierKnown || !change.person ||
        (change.earlier && hasSameVersion(*site, *change.earlier))) {
        return std::nullopt;
    }
    const QString by = site->deployedBy.value_or(QString());
    if (isNameOf(*change.person, by) && comesFrom(change.kind, *site)) {
        return ChangeOutcome{Kind::Done, site->url};
    }
    if (log && isLogged(change, *log)) {
        return ChangeOutcome{Kind::Overtaken, site->url, by};
    }
    return std::nullopt;
}

Task<ChangeOutcome> askForOutcome(PlatformClient& client, SentChange change, Sleeper sleep, std::stop_token stop) {
    Glance last;
    bool isRefused = false;
    const auto end = std::chrono::steady_clock::now() + outcomeQuestionTime;
    for (int left = static_cast<int>(outcomeQuestionTime / outcomeQuestionPause); left > 0; --left) {
        try {
            Task<Glance> question = askOnce(client, change, last.known, stop);
            last = co_await std::move(question);
        } catch (const Cancelled&) {
            throw;
        } catch (const PlatformError& failure) {
            last = Glance();
            isRefused = refusesUs(failure);
        } catch (const std::exception&) {
            last = Glance();
        }
        if (last.outcome) {
            co_return *last.outcome;
        }
        if (isRefused || std::chrono::steady_clock::now() >= end) {
            break;
        }
        Task<> pause = sleep(outcomeQuestionPause, stop);
        co_await std::move(pause);
    }
    ChangeOutcome outcome;
    outcome.kind = last.isClear ? Kind::NotDone : Kind::Unknown;
    co_return outcome;
}

} // namespace driftwell
