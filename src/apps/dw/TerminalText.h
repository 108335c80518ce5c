#pragma once

#include <QString>
#include <QStringView>

#include <string>

/// Texts of strangers on a terminal: what they may contain, and the room that they take.
namespace driftwell::dw {

/// With "?" in the place of each character that the terminal would obey, that would turn the direction of what follows,
/// break the line or stand unseen: control and format characters, line and paragraph separators, and halves of
/// surrogate pairs (Unicode's general categories Cc, Cf, Zl, Zp and Cs).
[[nodiscard]] QString safeOnTerminal(const QString& text);

/// JSON with those characters escaped (RFC 8259, section 7). It means the same.
[[nodiscard]] std::string jsonSafeOnTerminal(const std::string& json);

/// The columns that a line takes: none for a combining mark, two for most ideographs and emoji (UAX #11).
[[nodiscard]] qsizetype columnsOf(QStringView text);

/// The text in exactly `columns` of them: filled up with blanks, or cut between characters as they are seen (grapheme
/// clusters, UAX #29) and ended by "…".
[[nodiscard]] QString fittedTo(const QString& text, qsizetype columns);

} // namespace driftwell::dw
