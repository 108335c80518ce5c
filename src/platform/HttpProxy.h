#pragma once

#include <QByteArray>
#include <QString>

#include <optional>
#include <string>

namespace driftwell {

/// A proxy as the environment names it.
struct HttpProxy {
    QString host;
    int port = 0;

    /// For a person: without the name and password that its address can hold.
    [[nodiscard]] QString name() const;
};

/// The proxy that the environment (http_proxy, https_proxy, all_proxy; in capitals too, save the first, which a server
/// could have set from a request's header) has for the URL, exceptions left aside.
[[nodiscard]] std::optional<HttpProxy> proxyOf(const QByteArray& url);

/// The person's own exceptions from the proxy (no_proxy), and this machine, which no proxy can reach, in the form of
/// CURLOPT_NOPROXY.
[[nodiscard]] std::string proxyExceptions();

/// Whether a connection to that port was one to the proxy. Where the proxy has the port that the URL has too, it was
/// unless the URL can be among the exceptions.
[[nodiscard]] bool leadsToProxy(const HttpProxy& proxy, const QByteArray& url, int port);

} // namespace driftwell
