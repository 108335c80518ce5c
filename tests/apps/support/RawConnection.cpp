#include "tests/apps/support/RawConnection.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace driftwell::tests {

RawConnection::RawConnection(int port) : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const timeval timeout{.tv_sec = 10, .tv_usec = 0};
    setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        throw std::system_error(errno, std::generic_category(), "connect");
    }
}

RawConnection::~RawConnection() {
    close(m_socket);
}

bool RawConnection::send(const std::string& bytes) const {
    for (size_t at = 0; at < bytes.size();) {
        const ssize_t sent = ::send(m_socket, bytes.data() + at, bytes.size() - at, MSG_NOSIGNAL);
        if (sent <= 0) {
            return false;
        }
        at += static_cast<size_t>(sent);
    }
    return true;
}

std::string RawConnection::readToEnd() const {
    std::string all;
    char buffer[4096];
    for (;;) {
        const ssize_t got = recv(m_socket, buffer, sizeof buffer, 0);
        if (got <= 0) {
            return all;
        }
        all.append(buffer, static_cast<size_t>(got));
    }
}

bool RawConnection::readUntil(const std::string& text) const {
    std::string all;
    char character = 0;
    while (all.find(text) == std::string::npos) {
        if (recv(m_socket, &character, 1, 0) != 1) {
            return false;
        }
        all += character;
    }
    return true;
}

} // namespace driftwell::tests
