#include "platform/Token.h"

#include "platform/PlatformError.h"

#include <QRegularExpression>

#include <algorithm>

namespace driftwell {

void requireSendable(const QString& token, const QString& name) {
    const auto isControl = [](QChar character) {
        return character < u' ' || character == QChar(0x7F);
    };
    if (std::any_of(token.begin(), token.end(), isControl)) {
        throw PlatformError::api(
            QStringLiteral("%1 holds a line break or another control character and cannot be sent").arg(name));
    }
}

QString withoutSecrets(const QByteArray& url, const QString& token) {
    QString shown = QString::fromUtf8(url);
    const qsizetype authority = shown.indexOf(QLatin1StringView("://")) + 3;
    const qsizetype end = shown.indexOf(QRegularExpression(QStringLiteral("[/?#]")), authority);
    const qsizetype at = shown.lastIndexOf(u'@', end < 0 ? -1 : end);
    if (authority > 2 && at >= authority) {
        shown.replace(authority, at - authority, QStringLiteral("…"));
    }
    if (!token.isEmpty()) {
        shown.replace(token, QStringLiteral("…"));
        shown.replace(QString::fromLatin1(token.toUtf8().toPercentEncoding()), QStringLiteral("…"));
    }
    return shown;
}

} // namespace driftwell
