#include "apps/dw/SeenLog.h"

#include <algorithm>

namespace driftwell::dw {

QList<LogEntry> SeenLog::takeNew(QList<LogEntry> entries) {
    // The platform has the latest first, also of one moment.
    std::reverse(entries.begin(), entries.end());
    std::stable_sort(entries.begin(), entries.end(), [](const LogEntry& a, const LogEntry& b) { return a.ts < b.ts; });
    QList<LogEntry> known = m_ofLatest;
    QList<LogEntry> fresh;
    for (const LogEntry& entry : entries) {
        if (entry.ts > m_latest || (entry.ts == m_latest && !known.removeOne(entry))) {
            fresh.append(entry);
        }
    }
    if (!fresh.isEmpty()) {
        m_latest = fresh.last().ts;
        m_ofLatest = entries;
        m_ofLatest.removeIf([this](const LogEntry& entry) { return entry.ts != m_latest; });
    }
    return fresh;
}

} // namespace driftwell::dw
