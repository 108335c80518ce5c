#include "platform/HttpFailure.h"

#include "platform/UrlSyntax.h"

#include <cstring>

namespace driftwell {

namespace {

QString hostText(const QByteArray& url) {
    return QString::fromUtf8(hostOfUrl(url).value_or(url));
}

QString withReason(const QString& sentence, const QString& reason) {
    return reason.isEmpty() ? sentence + u'.' : sentence + QStringLiteral(": ") + reason;
}

} // namespace

QString describeHttpTimeout(const QByteArray& url) {
    return QStringLiteral("%1 did not answer in time.").arg(hostText(url));
}

QString describeHttpFailure(CURLcode code, const QByteArray& url, const QByteArray& detail, long systemError) {
    const QString host = hostText(url);
    const QString reason = QString::fromUtf8(detail.isEmpty() ? QByteArray(curl_easy_strerror(code)) : detail);
    switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
        return QStringLiteral("The host %1 could not be found.").arg(host);
    case CURLE_COULDNT_CONNECT: {
        const QString systemText =
            systemError == 0 ? QString() : QString::fromLocal8Bit(std::strerror(static_cast<int>(systemError)));
        return withReason(QStringLiteral("Could not connect to %1").arg(host), systemText);
    }
    case CURLE_OPERATION_TIMEDOUT:
        return describeHttpTimeout(url);
    case CURLE_PEER_FAILED_VERIFICATION:
        return withReason(QStringLiteral("The certificate of %1 is not trusted").arg(host), reason);
    case CURLE_SSL_CONNECT_ERROR:
        return withReason(QStringLiteral("No secure connection to %1 could be made").arg(host), reason);
    case CURLE_TOO_MANY_REDIRECTS:
        return QStringLiteral("%1 redirects without end.").arg(host);
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
        return QStringLiteral("The connection to %1 was lost.").arg(host);
    default:
        return reason;
    }
}

} // namespace driftwell
