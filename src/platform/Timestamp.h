#pragma once

#include <QStringView>

#include <chrono>
#include <optional>

namespace driftwell {

/// A moment in UTC.
using Timestamp = std::chrono::sys_time<std::chrono::microseconds>;

/// Parses the platform's times: an internet date and time (RFC 3339) with or without fractional seconds, for example
/// 2026-03-01T09:30:00.250Z. Absent for anything else, a date without a time or a time without a zone among them.
/// Fractions finer than a microsecond are cut off.
[[nodiscard]] std::optional<Timestamp> timestampFromIso(QStringView text);

/// The present moment.
[[nodiscard]] Timestamp now();

} // namespace driftwell
