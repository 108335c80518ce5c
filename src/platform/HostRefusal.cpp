#include "platform/HostRefusal.h"

#include "platform/PlatformConfig.h"
#include "platform/Token.h"

#include <QRegularExpression>

namespace driftwell {

namespace {

/// What stands before a host (RFC 3986, section 3.1), with the characters that follow it; empty where nothing does.
QString schemeOf(const QString& typed) {
    static const QRegularExpression scheme(QStringLiteral("^[A-Za-z][A-Za-z0-9+.-]*://"));
    return scheme.match(typed).captured();
}

/// Absent where there is no more to say than that it is no host.
std::optional<QString> reasonAgainst(const QString& typed) {
    const QString scheme = schemeOf(typed);
    if (!scheme.isEmpty() && scheme != QLatin1StringView("http://") && scheme != QLatin1StringView("https://")) {
        return QStringLiteral("“%1” leads to none, only “https://” and “http://” do").arg(scheme);
    }
    for (const QChar mark : {u'?', u'#'}) {
        if (typed.contains(mark)) {
            return QStringLiteral("what begins with “%1” belongs to a page").arg(mark);
        }
    }
    return std::nullopt;
}

/// Without what may be a password. Where the text is no address, that is anything before an "@".
QString shown(const QString& typed) {
    const qsizetype at = typed.lastIndexOf(u'@');
    if (at < 0) {
        return typed;
    }
    const QString scheme = schemeOf(typed);
    const PlatformConfig config(typed);
    const bool isAddress = config.isReadable() && !config.host().contains(QLatin1StringView("://"));
    return scheme + (isAddress ? config.shownHost() : QStringLiteral("…") + typed.mid(at));
}

} // namespace

std::optional<QString> hostRefusal(const QString& typed) {
    const std::optional<QString> reason = reasonAgainst(typed);
    if (!typed.isEmpty() && !reason && PlatformConfig(typed).isReadable()) {
        return std::nullopt;
    }
    const QString refusal = QStringLiteral("“%1” is not the host of a platform").arg(shown(typed));
    return reason ? refusal + QStringLiteral(": ") + *reason : refusal;
}

} // namespace driftwell
