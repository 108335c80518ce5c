#pragma once

#include "platform/HttpExchange.h"
#include "support/Task.h"

#include <QByteArray>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <utility>
#include <variant>
#include <vector>

namespace driftwell {

/// The bounds of one HTTP exchange.
struct HttpLimits {
    /// Without a byte in either direction, from the first attempt to connect on: every byte of the other side counts,
    /// wherever in its answer it stands. Bytes that wait in the kernel's send queue count as they drain.
    std::chrono::milliseconds idle = std::chrono::seconds(15);
    /// For the whole exchange.
    std::chrono::milliseconds total = std::chrono::seconds(600);
    /// Of the answer's body once decompressed, in bytes.
    std::int64_t replyBytes = 64 * 1024 * 1024;
    int redirects = 20;
};

/// A body that is streamed from a file and never held in memory.
struct FileBody {
    std::filesystem::path file;
    /// Called on the network thread with the bytes sent and the bytes there are to send, as often as they change. They
    /// begin anew where a redirect has the file sent again. Destroyed on the network thread or the caller's.
    std::function<void(std::int64_t sent, std::int64_t total)> onSent;
};

struct HttpRequest {
    QByteArray method;
    QByteArray url;
    std::vector<std::pair<QByteArray, QByteArray>> headers;
    std::variant<std::monostate, QByteArray, FileBody> body;
    /// In place of the session's. Without redirects, the answer that redirects is the one that is given.
    std::optional<HttpLimits> limits = {};
    /// Where it is given, it tells what came of the request once send() has answered or thrown, unless that was for a
    /// stop.
    std::shared_ptr<HttpExchange> record = {};
};

struct HttpResponse {
    int status = 0;
    QByteArray body;
    /// The body went past HttpLimits::replyBytes and was dropped.
    bool tooLarge = false;
    /// Where it sends on to, if it does and was not followed.
    QByteArray redirect = {};
    /// How long the server asks to wait before the next request (RFC 9110, section 10.2.3); absent where it does not.
    std::optional<std::chrono::seconds> retryAfter = {};
};

/// HTTP exchanges on one network thread (libcurl's multi interface), which is started by the first exchange and sleeps
/// while there is none. No cookies, no cache, nothing stored.
///
/// Redirects with the status 301, 302, 303, 307 or 308 are followed, to http and https only; headers that were given
/// for the origin, the authorization among them, are not sent to another one. A request other than GET goes out on a
/// fresh connection and is never re-sent when that connection breaks. Which certificates are trusted says
/// TrustedCertificates.h.
class HttpSession {
public:
    explicit HttpSession(HttpLimits limits = {});
    /// Ends all exchanges with Cancelled.
    ~HttpSession();
    HttpSession(const HttpSession&) = delete;
    HttpSession& operator=(const HttpSession&) = delete;

    /// Gives the final answer, whatever its status. Throws PlatformError::unreachable with the reason when there is
    /// none, without asking when the certificates to trust cannot be read, or its headers come to more than 1 MB,
    /// std::system_error when the file to send cannot be read or the system has no descriptors left, and Cancelled, at
    /// once, when a stop is requested.
    [[nodiscard]] Task<HttpResponse> send(HttpRequest request, std::stop_token stop);

private:
    class Network;

    HttpLimits m_limits;
    std::shared_ptr<Network> m_network;
};

} // namespace driftwell
