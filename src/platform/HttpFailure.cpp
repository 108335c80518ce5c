#include "platform/HttpFailure.h"

#include "platform/UrlSyntax.h"

#include <cerrno>
#include <system_error>

namespace driftwell {

namespace {

QString hostText(const QByteArray& url) {
    return QString::fromUtf8(hostOfUrl(url).value_or(url));
}

QString withReason(const QString& sentence, const QString& reason) {
    return reason.isEmpty() ? sentence + u'.' : sentence + QStringLiteral(": ") + reason;
}

/// "the proxy NAME", or the host.
QString otherSide(const HttpFailure& failure) {
    return failure.proxy ? QStringLiteral("the proxy ") + failure.proxy->name() : hostText(failure.url);
}

QString throughProxy(const std::optional<HttpProxy>& proxy) {
    return proxy ? QStringLiteral(" through the proxy ") + proxy->name() : QString();
}

QString systemText(long error) {
    return error == 0 ? QString() : describe(std::error_code(static_cast<int>(error), std::generic_category()));
}

/// What answered did so, but not in TLS (OpenSSL's words for a first record that is none).
bool isAnsweredInPlain(const HttpFailure& failure) {
    return failure.detail.contains("wrong version number") || failure.detail.contains("packet length too long");
}

bool isRefusedByProxy(const HttpFailure& failure) {
    return failure.proxy && failure.proxyStatus != 0 && failure.proxyStatus / 100 != 2;
}

bool isLackOfDescriptors(const HttpFailure& failure) {
    return failure.systemError == EMFILE || failure.systemError == ENFILE;
}

QString reasonOf(const HttpFailure& failure) {
    return QString::fromUtf8(failure.detail.isEmpty() ? QByteArray(curl_easy_strerror(failure.code)) : failure.detail);
}

} // namespace

QString describeHttpTimeout(const QByteArray& url, const std::optional<HttpProxy>& proxy) {
    return QStringLiteral("%1 did not answer in time%2.").arg(hostText(url), throughProxy(proxy));
}

QString describeProxyRefusal(const HttpProxy& proxy, int status) {
    return QStringLiteral("The proxy %1 refused the request: HTTP %2").arg(proxy.name()).arg(status);
}

QString describeHttpHeaders(const QByteArray& url) {
    return QStringLiteral("%1 sends headers that are too long.").arg(hostText(url));
}

QString describeHttpFailure(const HttpFailure& failure) {
    const QString host = hostText(failure.url);
    if (isLackOfDescriptors(failure)) {
        return systemText(failure.systemError);
    }
    if (isRefusedByProxy(failure)) {
        return QStringLiteral("The proxy %1 did not connect to %2: HTTP %3")
            .arg(failure.proxy->name(), host)
            .arg(failure.proxyStatus);
    }
    switch (failure.code) {
    case CURLE_COULDNT_RESOLVE_HOST:
        return QStringLiteral("The host %1 could not be found.").arg(host);
    case CURLE_COULDNT_RESOLVE_PROXY:
        return failure.proxy ? QStringLiteral("The proxy %1 could not be found.").arg(failure.proxy->name())
                             : reasonOf(failure);
    case CURLE_COULDNT_CONNECT:
        return withReason(QStringLiteral("Could not connect to %1").arg(otherSide(failure)),
                          systemText(failure.systemError));
    case CURLE_PEER_FAILED_VERIFICATION:
        return withReason(QStringLiteral("The certificate of %1 is not trusted").arg(host), reasonOf(failure));
    case CURLE_SSL_CACERT_BADFILE:
        return withReason(QStringLiteral("The certificates to trust cannot be used"), reasonOf(failure));
    case CURLE_SSL_CONNECT_ERROR:
        return withReason(QStringLiteral("No secure connection to %1 could be made").arg(host),
                          isAnsweredInPlain(failure) ? QStringLiteral("it does not speak https there")
                                                     : reasonOf(failure));
    case CURLE_TOO_MANY_REDIRECTS:
        return QStringLiteral("%1 redirects without end.").arg(host);
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
        return QStringLiteral("The connection to %1%2 was lost.").arg(host, throughProxy(failure.proxy));
    default:
        return reasonOf(failure);
    }
}

PlatformErrorReason reasonOfHttpFailure(const HttpFailure& failure) {
    if (isLackOfDescriptors(failure)) {
        return PlatformErrorReason::Unspecified;
    }
    if (isRefusedByProxy(failure)) {
        return PlatformErrorReason::Proxy;
    }
    switch (failure.code) {
    case CURLE_COULDNT_RESOLVE_PROXY:
        return PlatformErrorReason::Proxy;
    case CURLE_COULDNT_CONNECT:
        return failure.proxy ? PlatformErrorReason::Proxy : PlatformErrorReason::Unspecified;
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
        return PlatformErrorReason::Certificate;
    case CURLE_SSL_CONNECT_ERROR:
        return isAnsweredInPlain(failure) ? PlatformErrorReason::NotHttps : PlatformErrorReason::Unspecified;
    default:
        return PlatformErrorReason::Unspecified;
    }
}

} // namespace driftwell
