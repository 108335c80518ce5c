#pragma once

#include "platform/Models.h"

/// What a site's log tells of its versions.
namespace driftwell {

/// How many lines of a log are asked for. The lines of other kinds among them are left out, so a site with much other
/// traffic can show fewer versions.
inline constexpr int historyLogLines = 200;

/// The lines that tell of a new live version, the newest first by the plain order of their times, which the platform
/// writes in one uniform form.
[[nodiscard]] QList<LogEntry> deployHistory(QList<LogEntry> log);

} // namespace driftwell
