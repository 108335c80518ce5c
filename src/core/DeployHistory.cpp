#include "core/DeployHistory.h"

#include <algorithm>

namespace driftwell {

QList<LogEntry> deployHistory(QList<LogEntry> log) {
    log.removeIf([](const LogEntry& entry) { return entry.kind != LogEntry::Kind::Deploy; });
    std::stable_sort(log.begin(), log.end(), [](const LogEntry& a, const LogEntry& b) { return a.ts > b.ts; });
    return log;
}

} // namespace driftwell
