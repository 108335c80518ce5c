#pragma once

#include "platform/CallbackConnection.h"
#include "support/Completion.h"
#include "support/Task.h"
#include "support/UniqueFd.h"

#include <QString>
#include <QTimer>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <stop_token>
#include <string_view>

class QSocketNotifier;

namespace driftwell {

/// The place to which the platform's sign-in page sends the browser back: a one-shot HTTP listener on 127.0.0.1, one
/// object per attempt to sign in, which gives one token at most. Whoever opens a connection from this machine can talk
/// to it; only a request that carries `expectedState` and comes over a socket of this process's own account decides
/// anything. The state alone does not do: while the browser starts, the list of processes shows it to every account.
/// Every other request is answered with 404, a callback of another account or of one that the system does not tell
/// (PeerAccount.h) with 403, and the wait goes on.
///
/// Used on the main thread, whose event loop serves it: one epoll descriptor (epoll(7)) stands for the listener and all
/// connections. What one connection does cannot hold up another.
class LoopbackCallbackServer {
public:
    /// So that connections on which nothing comes can neither use up this process's descriptors nor keep the browser
    /// out: one more than `connections` ends the one that has been there longest, and `timeout` ends each of them.
    struct Limits {
        std::size_t connections = 32;
        std::chrono::milliseconds timeout = std::chrono::seconds(10);
    };

    LoopbackCallbackServer() : LoopbackCallbackServer(Limits()) {}
    explicit LoopbackCallbackServer(Limits limits);
    ~LoopbackCallbackServer();
    LoopbackCallbackServer(const LoopbackCallbackServer&) = delete;
    LoopbackCallbackServer& operator=(const LoopbackCallbackServer&) = delete;

    /// 32 capital hexadecimal digits, random, which tie a callback to this attempt.
    [[nodiscard]] const QString& expectedState() const { return m_expectedState; }

    /// Begins to listen, once, and gives the port that the system chose. Throws std::system_error when that fails, and
    /// PlatformError::api when there is no port.
    [[nodiscard]] std::uint16_t start();

    /// The token, also one that came before anybody waited. Awaited once. Throws Cancelled when it is told to stop, and
    /// when stop() came before a token.
    [[nodiscard]] Task<QString> waitForToken(std::stop_token stop);

    /// Closes the listener and every connection. Later calls do nothing.
    void stop();

private:
    using Clock = std::chrono::steady_clock;
    /// Counts from 1, so that the first in the map is the oldest.
    using ConnectionId = std::uint64_t;

    struct Guest {
        CallbackConnection connection;
        Clock::time_point deadline;
    };

    void serve();
    void acceptNew();
    void take(UniqueFd socket);
    void advance(ConnectionId id);
    [[nodiscard]] QByteArray respond(std::string_view requestLine, int connection);
    void pauseAccepting();
    void listenFor(std::uint32_t events);
    void dropOverdue();
    void scheduleDrop();

    const Limits m_limits;
    const QString m_expectedState;
    Completion<QString> m_outcome;
    UniqueFd m_epoll;
    UniqueFd m_listener;
    std::map<ConnectionId, Guest> m_guests;
    ConnectionId m_lastId = 0;
    std::unique_ptr<QSocketNotifier> m_ready;
    QTimer m_nextDrop;
    QTimer m_acceptAgain;
};

} // namespace driftwell
