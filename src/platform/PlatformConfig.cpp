#include "platform/PlatformConfig.h"

#include "platform/Token.h"
#include "platform/UrlSyntax.h"

namespace driftwell {

namespace {

// Well-formed, and reserved never to resolve (RFC 6761, section 6.4).
const QString unresolvableOrigin = QStringLiteral("https://unreadable-host.invalid");

/// It begins with a scheme, so that there is nothing to remove from its beginning.
QString withoutSlashesAtEnd(QStringView text) {
    while (text.endsWith(u'/')) {
        text.chop(1);
    }
    return text.toString();
}

bool hasScheme(const QString& text) {
    return text.startsWith(QLatin1String("http://")) || text.startsWith(QLatin1String("https://"));
}

QString withoutScheme(const QString& text) {
    return hasScheme(text) ? text.mid(text.indexOf(QLatin1String("://")) + 3) : text;
}

} // namespace

PlatformConfig::PlatformConfig(const QString& host) {
    const QString normalized = hasScheme(host) ? withoutSlashesAtEnd(host) : QStringLiteral("https://") + host;
    const std::optional<QByteArray> name = hostOfUrl(normalized.toUtf8());
    m_origin = name ? normalized : unresolvableOrigin;
    m_host = withoutScheme(normalized);
    m_isReadable = name.has_value();
    m_isLocal = name && (*name == "localhost" || name->endsWith(".localhost"));
}

QString PlatformConfig::shownOrigin() const {
    return withoutSecrets(m_origin.toUtf8(), {});
}

QString PlatformConfig::shownHost() const {
    return withoutScheme(withoutSecrets("https://" + m_host.toUtf8(), {}));
}

std::optional<int> PlatformConfig::port() const {
    return m_isReadable ? portOfUrl(m_origin.toUtf8()) : std::nullopt;
}

} // namespace driftwell
