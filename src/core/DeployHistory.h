#pragma once

#include "platform/Models.h"

#include <optional>

/// What a site's log tells of its versions.
namespace driftwell {

/// How many lines of a log are asked for. The lines of other kinds among them are left out, so a site with much other
/// traffic can show fewer versions.
inline constexpr int historyLogLines = 200;

/// The lines that tell of a new live version, the newest first by the plain order of their times, which the platform
/// writes in one uniform form.
[[nodiscard]] QList<LogEntry> deployHistory(QList<LogEntry> log);

/// The place in a history, as deployHistory() has it, of the deployment that is live: a rollback swaps the live version
/// with the one before it. Absent where the history does not reach back to that deployment.
[[nodiscard]] std::optional<qsizetype> liveDeployment(const QList<LogEntry>& history);

/// The place of the deployment that a rollback would bring back, likewise.
[[nodiscard]] std::optional<qsizetype> previousDeployment(const QList<LogEntry>& history);

} // namespace driftwell
