#pragma once

#include <curl/curl.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>

namespace driftwell {

/// The sockets of all connections of an HTTP session, kept ones among them, and what the kernel knows of each: libcurl
/// tells of bytes only when they make a whole line or chunk. Used on the network thread; outlives the connections.
class HttpSockets {
public:
    using Clock = std::chrono::steady_clock;

    /// One connection's. A later one can have the same descriptor, but never the same number.
    struct Socket {
        curl_socket_t descriptor;
        std::uint64_t number;
    };

    Socket add(curl_socket_t descriptor);
    void remove(curl_socket_t descriptor);

    /// The one with these ports; for a connection that was kept, of which libcurl tells no more.
    [[nodiscard]] std::optional<Socket> find(int localPort, int remotePort) const;

    /// When the last bytes of the other side came in, or it was connected; absent when it is closed or not connected.
    [[nodiscard]] std::optional<Clock::time_point> lastReceived(const Socket& socket) const;

    /// Bytes that were sent and that the other side has not taken.
    [[nodiscard]] int unsent(const Socket& socket) const;

private:
    [[nodiscard]] bool isOpen(const Socket& socket) const;

    std::map<curl_socket_t, std::uint64_t> m_open;
    std::uint64_t m_lastNumber = 0;
};

} // namespace driftwell
