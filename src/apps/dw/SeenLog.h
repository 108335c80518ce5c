#pragma once

#include "platform/Models.h"

#include <QList>

namespace driftwell::dw {

/// What was seen of a log that is asked for again and again. Lines are told apart by their times, which the platform
/// writes in one uniform form, and those of one moment by how many there are.
class SeenLog {
public:
    /// The entries that were not in what it was given before, the oldest first.
    [[nodiscard]] QList<LogEntry> takeNew(QList<LogEntry> entries);

private:
    QString m_latest;
    /// All of that moment.
    QList<LogEntry> m_ofLatest;
};

} // namespace driftwell::dw
