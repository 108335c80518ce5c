#include "core/DeployHistory.h"

#include <algorithm>
#include <utility>

namespace driftwell {

QList<LogEntry> deployHistory(QList<LogEntry> log) {
    log.removeIf([](const LogEntry& entry) { return entry.kind != LogEntry::Kind::Deploy; });
    std::stable_sort(log.begin(), log.end(), [](const LogEntry& a, const LogEntry& b) { return a.ts > b.ts; });
    return log;
}

std::optional<qsizetype> liveDeployment(const QList<LogEntry>& history) {
    std::optional<qsizetype> live;
    std::optional<qsizetype> previous;
    for (qsizetype i = history.size() - 1; i >= 0; --i) {
        if (isRollback(history[i])) {
            std::swap(live, previous);
        } else {
            previous = std::exchange(live, i);
        }
    }
    return live;
}

} // namespace driftwell
