#pragma once

#include "platform/HttpProxy.h"
#include "platform/PlatformError.h"

#include <QByteArray>
#include <QString>

#include <curl/curl.h>

#include <optional>

namespace driftwell {

/// An exchange that brought no answer.
struct HttpFailure {
    CURLcode code = CURLE_OK;
    /// The address that was tried.
    QByteArray url;
    /// libcurl's own description (CURLOPT_ERRORBUFFER).
    QByteArray detail = {};
    /// The errno of the failed system call, or 0.
    long systemError = 0;
    /// The proxy that stood between, if one did.
    std::optional<HttpProxy> proxy = {};
    /// The status with which the proxy answered the wish for a connection, or 0.
    long proxyStatus = 0;
};

/// What a person reads of it.
[[nodiscard]] QString describeHttpFailure(const HttpFailure& failure);

/// What it is more precisely.
[[nodiscard]] PlatformErrorReason reasonOfHttpFailure(const HttpFailure& failure);

/// For an exchange that outlived one of its limits.
[[nodiscard]] QString describeHttpTimeout(const QByteArray& url, const std::optional<HttpProxy>& proxy = {});

/// For a request that the proxy did not pass on.
[[nodiscard]] QString describeProxyRefusal(const HttpProxy& proxy, int status);

/// For an answer whose headers are longer than they may be.
[[nodiscard]] QString describeHttpHeaders(const QByteArray& url);

} // namespace driftwell
