#pragma once

#include <QByteArray>
#include <QStringView>

#include <optional>

namespace driftwell {

/// The characters that stay as they are when a text becomes part of a URL (RFC 3986, sections 3.3 and 3.4).
enum class UrlPart {
    /// Unreserved, sub-delimiters, ":", "@" and "/".
    Path,
    /// As in a path, and "?".
    Query,
};

/// The text's UTF-8 with every byte outside the part's set as "%" and two capital hexadecimal digits. Absent when the
/// text holds a surrogate without its partner, which has no UTF-8.
[[nodiscard]] std::optional<QByteArray> percentEncoded(QStringView text, UrlPart part);

} // namespace driftwell
