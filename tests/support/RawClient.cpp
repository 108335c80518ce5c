#include "tests/support/RawClient.h"

#include "support/SystemError.h"
#include "tests/Await.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <system_error>
#include <utility>

namespace driftwell::tests {

RawClient::RawClient(int port, in_addr_t host)
    : m_socket(checked(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket")) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(host);
    checked(::connect(m_socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), "connect");
}

bool RawClient::send(std::string_view bytes) {
    bool isTaken = true;
    waitUntil([&] {
        const ssize_t sent = ::send(m_socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        bytes.remove_prefix(sent > 0 ? static_cast<std::size_t>(sent) : 0);
        isTaken = sent >= 0 || errno == EAGAIN;
        return bytes.empty() || !isTaken;
    });
    return isTaken;
}

void RawClient::finishSending() {
    ::shutdown(m_socket.get(), SHUT_WR);
}

void RawClient::reset() {
    const linger now{.l_onoff = 1, .l_linger = 0};
    ::setsockopt(m_socket.get(), SOL_SOCKET, SO_LINGER, &now, sizeof now);
    m_socket.reset();
}

bool RawClient::isClosed() {
    std::array<char, 4096> block;
    for (;;) {
        const ssize_t got = ::recv(m_socket.get(), block.data(), block.size(), MSG_DONTWAIT);
        if (got <= 0) {
            return got == 0 || errno != EAGAIN;
        }
        m_received.append(block.data(), static_cast<std::size_t>(got));
    }
}

bool RawClient::receiveUntil(std::string_view text) {
    std::size_t found = std::string::npos;
    waitUntil([&] {
        const bool isOver = isClosed();
        found = m_received.find(text);
        return isOver || found != std::string::npos;
    });
    if (found == std::string::npos) {
        return false;
    }
    m_received.erase(0, found + text.size());
    return true;
}

std::string RawClient::receiveAll() {
    waitUntil([this] { return isClosed(); });
    return std::exchange(m_received, {});
}

std::string ask(int port, std::string_view request) {
    RawClient client(port);
    client.send(request);
    return client.receiveAll();
}

bool isListening(int port, in_addr_t host) {
    try {
        const RawClient client(port, host);
        return true;
    } catch (const std::system_error&) {
        return false;
    }
}

} // namespace driftwell::tests
