#include "core/WebAddress.h"

namespace driftwell {

std::optional<QUrl> webAddress(const QString& text) {
    const QUrl address(text, QUrl::StrictMode);
    const bool isForBrowsers = address.scheme() == QLatin1String("https") || address.scheme() == QLatin1String("http");
    return address.isValid() && isForBrowsers && !address.host().isEmpty() ? std::optional(address) : std::nullopt;
}

} // namespace driftwell
