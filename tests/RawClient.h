#pragma once

#include "support/SystemError.h"
#include "support/UniqueFd.h"
#include "tests/Await.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <string>
#include <string_view>

namespace driftwell::tests {

/// A connection to a server that lives on the test's own event loop, for what no browser would send. Its waits run that
/// loop.
class RawClient {
public:
    /// Throws std::system_error when nobody listens there.
    explicit RawClient(std::uint16_t port, in_addr_t host = INADDR_LOOPBACK)
        : m_socket(checked(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket")) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(host);
        checked(::connect(m_socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), "connect");
    }

    /// As much of it as the other side takes before it closes.
    void send(std::string_view bytes) {
        waitUntil([this, &bytes] {
            const ssize_t sent = ::send(m_socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
            bytes.remove_prefix(sent > 0 ? static_cast<std::size_t>(sent) : 0);
            return bytes.empty() || (sent < 0 && errno != EAGAIN);
        });
    }

    /// No more bytes will come from this side.
    void finishSending() { ::shutdown(m_socket.get(), SHUT_WR); }

    /// Ends the connection with RST.
    void reset() {
        const linger now{.l_onoff = 1, .l_linger = 0};
        ::setsockopt(m_socket.get(), SOL_SOCKET, SO_LINGER, &now, sizeof now);
        m_socket.reset();
    }

    /// Whether the other side has closed. Reads what it has sent.
    [[nodiscard]] bool isClosed() {
        std::array<char, 4096> block;
        for (;;) {
            const ssize_t got = ::recv(m_socket.get(), block.data(), block.size(), MSG_DONTWAIT);
            if (got <= 0) {
                return got == 0 || errno != EAGAIN;
            }
            m_received.append(block.data(), static_cast<std::size_t>(got));
        }
    }

    /// All that comes until the other side closes.
    std::string receiveAll() {
        waitUntil([this] { return isClosed(); });
        return m_received;
    }

private:
    UniqueFd m_socket;
    std::string m_received;
};

/// The answer to one whole request.
inline std::string ask(std::uint16_t port, std::string_view request) {
    RawClient client(port);
    client.send(request);
    return client.receiveAll();
}

[[nodiscard]] inline bool isListening(std::uint16_t port, in_addr_t host = INADDR_LOOPBACK) {
    try {
        const RawClient client(port, host);
        return true;
    } catch (const std::system_error&) {
        return false;
    }
}

} // namespace driftwell::tests
