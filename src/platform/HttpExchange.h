#pragma once

#include "platform/HttpProxy.h"

#include <QByteArray>
#include <QString>

#include <chrono>
#include <cstdint>
#include <optional>

namespace driftwell {

/// What whoever looks for a fault is told of one exchange, answered or not.
struct HttpExchange {
    /// Of the server, as OpenSSL writes names and times.
    struct Certificate {
        QString subject;
        QString issuer;
        QString expires;
    };

    QByteArray method;
    /// The address that was asked; after redirects the last of them.
    QByteArray url;
    int redirects = 0;
    /// 0 where no answer came.
    int status = 0;
    std::chrono::milliseconds time{};
    /// Of the bodies, as they went over the wire.
    std::int64_t sentBytes = 0;
    std::int64_t receivedBytes = 0;
    std::optional<HttpProxy> proxy = {};
    /// Absent without TLS, and where the connection had been opened before.
    std::optional<Certificate> certificate = {};
};

} // namespace driftwell
