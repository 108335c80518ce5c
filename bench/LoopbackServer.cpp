#include "bench/LoopbackServer.h"

#include "support/SystemError.h"
#include "support/UniqueFd.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <thread>

namespace driftwell::bench {

namespace {

/// One client's requests, one after another, until it closes.
class Conversation {
public:
    Conversation(UniqueFd client, std::map<std::string, std::vector<std::string>> bodies)
        : m_client(std::move(client)), m_bodies(std::move(bodies)) {}

    void run() {
        while (readHead()) {
            takeBody();
            answer();
        }
    }

private:
    bool readHead() {
        for (;;) {
            const std::size_t end = m_received.find("\r\n\r\n");
            if (end != std::string::npos) {
                m_head = m_received.substr(0, end);
                m_received.erase(0, end + 4);
                return true;
            }
            if (!receive()) {
                return false;
            }
        }
    }

    bool receive() {
        const ssize_t got = ::recv(m_client.get(), m_buffer.data(), m_buffer.size(), 0);
        if (got <= 0) {
            return false;
        }
        m_received.append(m_buffer.data(), static_cast<std::size_t>(got));
        return true;
    }

    void takeBody() {
        std::string lower = m_head;
        std::transform(lower.begin(), lower.end(), lower.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        const std::size_t header = lower.find("content-length: ");
        if (header == std::string::npos) {
            return;
        }
        std::uint64_t left = std::strtoull(lower.c_str() + header + 16, nullptr, 10);
        const std::uint64_t here = std::min<std::uint64_t>(left, m_received.size());
        m_received.erase(0, here);
        left -= here;
        while (left > 0) {
            const ssize_t got =
                ::recv(m_client.get(), m_buffer.data(), std::min<std::uint64_t>(left, m_buffer.size()), 0);
            if (got <= 0) {
                return;
            }
            left -= static_cast<std::uint64_t>(got);
        }
    }

    void answer() {
        const std::size_t start = m_head.find(' ') + 1;
        const std::string path = m_head.substr(start, m_head.find_first_of(" ?", start) - start);
        std::vector<std::string>& turns = m_bodies[path];
        const std::string body = turns.empty() ? std::string("{}") : turns[m_turn[path]++ % turns.size()];
        std::string reply =
            "HTTP/1.1 200 OK\r\ncontent-type: application/json\r\ncontent-length: " + std::to_string(body.size()) +
            "\r\n\r\n" + body;
        for (std::string_view rest = reply; !rest.empty();) {
            const ssize_t sent = ::send(m_client.get(), rest.data(), rest.size(), MSG_NOSIGNAL);
            if (sent <= 0) {
                return;
            }
            rest.remove_prefix(static_cast<std::size_t>(sent));
        }
    }

    UniqueFd m_client;
    std::map<std::string, std::vector<std::string>> m_bodies;
    std::map<std::string, std::size_t> m_turn;
    std::string m_buffer = std::string(1024 * 1024, '\0');
    std::string m_received;
    std::string m_head;
};

[[noreturn]] void serve(int listener, const std::map<std::string, std::vector<std::string>>& bodies) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (;;) {
        UniqueFd client(::accept(listener, nullptr, nullptr));
        const int on = 1;
        ::setsockopt(client.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        std::thread([client = std::move(client), bodies]() mutable {
            Conversation(std::move(client), std::move(bodies)).run();
        }).detach();
    }
}

} // namespace

LoopbackServer::LoopbackServer(std::map<std::string, std::vector<std::string>> bodies) {
    const UniqueFd listener(checked(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket"));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    checked(::bind(listener.get(), generic, size), "bind");
    checked(::listen(listener.get(), 16), "listen");
    checked(::getsockname(listener.get(), generic, &size), "getsockname");
    m_port = ntohs(address.sin_port);
    m_pid = checked(::fork(), "fork");
    if (m_pid == 0) {
        serve(listener.get(), bodies);
    }
}

LoopbackServer::~LoopbackServer() {
    ::kill(m_pid, SIGKILL);
    ::waitpid(m_pid, nullptr, 0);
}

std::string LoopbackServer::origin() const {
    return "http://localhost:" + std::to_string(m_port);
}

} // namespace driftwell::bench
