#include "platform/HttpSockets.h"

#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace driftwell {

namespace {

int portOf(curl_socket_t descriptor, int (*ask)(int, sockaddr*, socklen_t*)) {
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    if (ask(descriptor, reinterpret_cast<sockaddr*>(&address), &length) < 0) {
        return -1;
    }
    switch (address.ss_family) {
    case AF_INET:
        return ntohs(reinterpret_cast<const sockaddr_in*>(&address)->sin_port);
    case AF_INET6:
        return ntohs(reinterpret_cast<const sockaddr_in6*>(&address)->sin6_port);
    default:
        return -1;
    }
}

} // namespace

HttpSockets::Socket HttpSockets::add(curl_socket_t descriptor) {
    m_open.insert_or_assign(descriptor, ++m_lastNumber);
    return {descriptor, m_lastNumber};
}

void HttpSockets::remove(curl_socket_t descriptor) {
    m_open.erase(descriptor);
}

std::optional<HttpSockets::Socket> HttpSockets::find(int localPort, int remotePort) const {
    for (const auto& [descriptor, number] : m_open) {
        if (portOf(descriptor, ::getsockname) == localPort && portOf(descriptor, ::getpeername) == remotePort) {
            return Socket{descriptor, number};
        }
    }
    return std::nullopt;
}

std::optional<HttpSockets::Clock::time_point> HttpSockets::lastReceived(const Socket& socket) const {
    tcp_info info{};
    socklen_t length = sizeof info;
    if (!isOpen(socket) || ::getsockopt(socket.descriptor, IPPROTO_TCP, TCP_INFO, &info, &length) < 0 ||
        info.tcpi_state == TCP_SYN_SENT) {
        return std::nullopt;
    }
    return Clock::now() - std::chrono::milliseconds(info.tcpi_last_data_recv);
}

int HttpSockets::unsent(const Socket& socket) const {
    int queued = 0;
    return isOpen(socket) && ::ioctl(socket.descriptor, SIOCOUTQ, &queued) == 0 ? queued : 0;
}

bool HttpSockets::isOpen(const Socket& socket) const {
    const auto found = m_open.find(socket.descriptor);
    return found != m_open.end() && found->second == socket.number;
}

} // namespace driftwell
