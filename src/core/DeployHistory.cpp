#include "core/DeployHistory.h"

#include <algorithm>
#include <utility>

namespace driftwell {

namespace {

/// Places in a history.
struct KeptVersions {
    std::optional<qsizetype> live;
    std::optional<qsizetype> previous;
};

KeptVersions keptVersions(const QList<LogEntry>& history) {
    KeptVersions kept;
    for (qsizetype i = history.size() - 1; i >= 0; --i) {
        if (isRollback(history[i])) {
            std::swap(kept.live, kept.previous);
        } else {
            kept.previous = std::exchange(kept.live, i);
        }
    }
    return kept;
}

} // namespace

QList<LogEntry> deployHistory(QList<LogEntry> log) {
    log.removeIf([](const LogEntry& entry) { return entry.kind != LogEntry::Kind::Deploy; });
    std::stable_sort(log.begin(), log.end(), [](const LogEntry& a, const LogEntry& b) { return a.ts > b.ts; });
    return log;
}

std::optional<qsizetype> liveDeployment(const QList<LogEntry>& history) {
    return keptVersions(history).live;
}

std::optional<qsizetype> previousDeployment(const QList<LogEntry>& history) {
    return keptVersions(history).previous;
}

} // namespace driftwell
