#include "desktop/FileUrl.h"

#include <string>

namespace driftwell {

QUrl fileUrl(const std::filesystem::path& path) {
    const std::string bytes = std::filesystem::absolute(path).string();
    const QByteArray encoded = QByteArray::fromStdString(bytes).toPercentEncoding(QByteArrayLiteral("/"));
    return QUrl::fromEncoded(QByteArrayLiteral("file://") + encoded, QUrl::StrictMode);
}

std::optional<std::filesystem::path> pathOfFileUrl(const QUrl& url) {
    const bool isHere = url.host().isEmpty() || url.host() == QLatin1StringView("localhost");
    const QByteArray bytes = QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1());
    if (!url.isLocalFile() || !isHere || !bytes.startsWith('/') || bytes.contains('\0')) {
        return std::nullopt;
    }
    return std::filesystem::path(bytes.toStdString());
}

} // namespace driftwell
