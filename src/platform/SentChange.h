#pragma once

#include "platform/Models.h"
#include "platform/PlatformConfig.h"
#include "support/Sleep.h"
#include "support/Task.h"

#include <QString>

#include <chrono>
#include <optional>
#include <stop_token>

namespace driftwell {

class PlatformClient;

/// A change of a site that was sent to the platform whole and has no answer, with what tells afterwards whether it was
/// made.
struct SentChange {
    enum class Kind { Deployment, Rollback, Deletion };

    Kind kind = Kind::Deployment;
    QString site;
    PlatformConfig config;
    /// The platform had been asked for its sites before the change was sent.
    bool isEarlierKnown = false;
    /// The site as it was listed then; absent when it was not there.
    std::optional<SiteInfo> earlier;
    /// Who sent it, as far as that is known.
    std::optional<Identity> person;
};

/// What became of a change.
struct ChangeOutcome {
    enum class Kind {
        /// It was made, and it holds.
        Done,
        /// It was made, and somebody has published since.
        Overtaken,
        /// The platform has not made it in all the time in which it was asked.
        NotDone,
        /// The platform could not be asked, or what it says can mean either.
        Unknown,
    };

    Kind kind = Kind::Unknown;
    /// The site's address as the platform lists it; empty when it lists none.
    QString url = {};
    /// Who has published since; empty unless it was overtaken.
    QString by = {};

    bool operator==(const ChangeOutcome&) const = default;
};

/// What the platform's present list, and the site's log where it is at hand, tell of a change; absent while nothing has
/// come of it.
[[nodiscard]] std::optional<ChangeOutcome> outcomeIn(const SentChange& change, const QList<SiteInfo>& sites,
                                                     const std::optional<LogsResponse>& log);

/// How often, and for how long at most, the platform is asked what became of a change.
inline constexpr std::chrono::seconds outcomeQuestionPause{2};
inline constexpr std::chrono::seconds outcomeQuestionTime{60};

/// Asks the platform what became of a change, again and again until it tells or the time is over. Throws Cancelled
/// after a stop and nothing else. The client outlives the call, or the stop is requested before it goes.
[[nodiscard]] Task<ChangeOutcome> askForOutcome(PlatformClient& client, SentChange change, Sleeper sleep,
                                                std::stop_token stop);

} // namespace driftwell
