#pragma once

#include "support/SystemError.h"
#include "support/UniqueFd.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <string>

namespace driftwell::tests {

/// A port of 127.0.0.1 that is held, so that nobody else takes it, and on which nobody listens.
class DeafPort {
public:
    DeafPort() : m_socket(checked(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket")) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        checked(::bind(m_socket.get(), reinterpret_cast<const sockaddr*>(&address), length), "bind");
        checked(::getsockname(m_socket.get(), reinterpret_cast<sockaddr*>(&address), &length), "getsockname");
        m_port = std::to_string(ntohs(address.sin_port));
    }

    [[nodiscard]] const std::string& port() const { return m_port; }

private:
    UniqueFd m_socket;
    std::string m_port;
};

} // namespace driftwell::tests
