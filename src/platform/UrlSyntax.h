#pragma once

#include <QByteArray>

#include <optional>

namespace driftwell {

/// The host of a URL (RFC 3986, section 3.2.2) as the HTTP session will read it, in lower case, without the brackets of
/// an IPv6 address; absent when the text is not a URL with a scheme that the session knows and a host.
[[nodiscard]] std::optional<QByteArray> hostOfUrl(const QByteArray& text);

/// The port that the session connects to for such a URL: the one in it, or that of its scheme. Absent where hostOfUrl()
/// is.
[[nodiscard]] std::optional<int> portOfUrl(const QByteArray& text);

} // namespace driftwell
