#pragma once

#include <QString>
#include <QUrl>

#include <optional>

namespace driftwell {

/// An address that the platform gave, as one for a browser; absent when it is no URL (RFC 3986) or one of another
/// scheme than http and https. A desktop opens other schemes with other programs, and the platform does not choose
/// those.
[[nodiscard]] std::optional<QUrl> webAddress(const QString& text);

} // namespace driftwell
