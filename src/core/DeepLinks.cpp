#include "core/DeepLinks.h"

#include "core/Connection.h"
#include "core/Gates.h"
#include "deploy/SiteName.h"

#include <QByteArray>
#include <QList>

#include <algorithm>
#include <utility>

namespace driftwell {

namespace {

/// An item of a query (RFC 3986, section 3.4); one without "=" has no value.
struct QueryItem {
    QString name;
    std::optional<QString> value;
};

QList<QueryItem> queryItems(const QUrl& url) {
    QList<QueryItem> items;
    for (const QByteArray& item : url.query(QUrl::FullyEncoded).toUtf8().split('&')) {
        const qsizetype equals = item.indexOf('=');
        const QString name = QUrl::fromPercentEncoding(equals < 0 ? item : item.left(equals));
        const bool hasValue = equals >= 0;
        items.append({name, hasValue ? std::optional(QUrl::fromPercentEncoding(item.mid(equals + 1))) : std::nullopt});
    }
    return items;
}

/// Of the first item of this name.
std::optional<QString> valueOf(const QString& name, const QList<QueryItem>& items) {
    const auto isNamed = [&name](const QueryItem& item) {
        return item.name == name;
    };
    const auto found = std::find_if(items.begin(), items.end(), isNamed);
    return found == items.end() ? std::nullopt : found->value;
}

QString actionOf(const QUrl& url) {
    if (!url.host().isEmpty()) {
        return url.host();
    }
    QString path = url.path();
    while (path.startsWith(u'/')) {
        path.remove(0, 1);
    }
    while (path.endsWith(u'/')) {
        path.chop(1);
    }
    return path;
}

} // namespace

DeepLinks::DeepLinks(QString scheme, Connection& connection, Gates& gates, Open open, Refuse refuse)
    : m_scheme(std::move(scheme)),
      m_connection(connection),
      m_gates(gates),
      m_open(std::move(open)),
      m_refuse(std::move(refuse)) {
    connect(&gates, &Gates::gitToolsArrived, this, &DeepLinks::handlePending);
}

DeepLinks::~DeepLinks() = default;

void DeepLinks::handleDeepLink(const QUrl& link) {
    if (link.scheme() != m_scheme || !link.isValid() || actionOf(link) != QLatin1String("open")) {
        return;
    }
    const QList<QueryItem> items = queryItems(link);
    const std::optional<QString> site = valueOf(QStringLiteral("site"), items);
    if (!site || !SiteName::isValid(*site)) {
        return;
    }
    const std::optional<QString> host = valueOf(QStringLiteral("host"), items);
    const std::optional<PlatformConfig> config = m_connection.config();
    if (host && config && config->origin() != *host) {
        m_refuse(QStringLiteral("This link is for %1, but the app is connected to %2.").arg(*host, config->host()));
        return;
    }
    if (m_gates.requireGitTools()) {
        m_open(*site);
    } else {
        m_pendingDeepLink = link;
    }
}

void DeepLinks::handlePending() {
    const std::optional<QUrl> pending = m_pendingDeepLink;
    if (pending) {
        m_pendingDeepLink = std::nullopt;
        handleDeepLink(*pending);
    }
}

} // namespace driftwell
