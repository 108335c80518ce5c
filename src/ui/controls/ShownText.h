#pragma once

#include <QString>

namespace driftwell {

/// As much of a text as is laid out without delay. Failures and log lines come from strangers, and have any length.
[[nodiscard]] inline QString shownText(const QString& text, qsizetype most) {
    return text.size() > most ? text.left(most) + QStringLiteral("…") : text;
}

} // namespace driftwell
