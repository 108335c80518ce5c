#include "tests/core/PlatformServer.h"

#include "support/SystemError.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <optional>
#include <sstream>

namespace driftwell::tests {

/// Guarded by the server's mutex.
struct PlatformServer::HoldState {
    bool arrived = false;
    bool abandoned = false;
    bool released = false;
};

namespace {

constexpr std::string_view endOfHead = "\r\n\r\n";

// Small, so that an upload whose body is not read soon waits for its server.
constexpr int receiveBufferBytes = 64 * 1024;

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char character) { return static_cast<char>(std::tolower(character)); });
    return text;
}

/// The request whose head lies at the front of the bytes, without its body; nothing while the head is incomplete.
std::optional<PlatformServer::Request> parsedHead(const std::string& bytes) {
    const std::size_t end = bytes.find(endOfHead);
    if (end == std::string::npos) {
        return std::nullopt;
    }
    std::istringstream lines(bytes.substr(0, end + 2));
    PlatformServer::Request request;
    std::string line;
    std::getline(lines, line);
    std::istringstream(line) >> request.method >> request.target;
    while (std::getline(lines, line)) {
        const std::size_t colon = line.find(": ");
        if (colon != std::string::npos) {
            request.headers[lowerCase(line.substr(0, colon))] = line.substr(colon + 2, line.size() - colon - 3);
        }
    }
    return request;
}

std::size_t bodyLength(const PlatformServer::Request& request) {
    const auto found = request.headers.find("content-length");
    return found == request.headers.end() ? 0 : std::stoul(found->second);
}

std::string pathOf(const std::string& target) {
    return target.substr(0, target.find('?'));
}

} // namespace

bool PlatformServer::Hold::arrived() const {
    const std::scoped_lock lock(m_server->m_mutex);
    return m_state->arrived;
}

bool PlatformServer::Hold::abandoned() const {
    const std::scoped_lock lock(m_server->m_mutex);
    return m_state->abandoned;
}

void PlatformServer::Hold::release() {
    const std::scoped_lock lock(m_server->m_mutex);
    m_state->released = true;
    m_server->wake();
}

PlatformServer::PlatformServer()
    : m_listener(checked(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket")),
      m_wake(checked(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")) {
    checked(::setsockopt(m_listener.get(), SOL_SOCKET, SO_RCVBUF, &receiveBufferBytes, sizeof receiveBufferBytes),
            "setsockopt");
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* const plain = reinterpret_cast<sockaddr*>(&address);
    checked(::bind(m_listener.get(), plain, length), "bind");
    checked(::listen(m_listener.get(), SOMAXCONN), "listen");
    checked(::getsockname(m_listener.get(), plain, &length), "getsockname");
    m_port = ::ntohs(address.sin_port);
    m_thread = std::thread([this] { run(); });
}

PlatformServer::~PlatformServer() {
    {
        const std::scoped_lock lock(m_mutex);
        m_end = true;
        wake();
    }
    m_thread.join();
}

void PlatformServer::answer(const std::string& path, int status, const std::string& body) {
    const std::scoped_lock lock(m_mutex);
    m_answers[path] = {status, body, false};
}

void PlatformServer::closeWithoutAnswer(const std::string& path) {
    const std::scoped_lock lock(m_mutex);
    m_answers[path] = {0, {}, true};
}

PlatformServer::Hold PlatformServer::holdAnswer(const std::string& path) {
    return addHold(m_answerHolds, path);
}

PlatformServer::Hold PlatformServer::holdBody(const std::string& path) {
    return addHold(m_bodyHolds, path);
}

PlatformServer::Hold PlatformServer::addHold(std::map<std::string, std::vector<std::shared_ptr<HoldState>>>& holds,
                                             const std::string& path) {
    const std::scoped_lock lock(m_mutex);
    const auto state = std::make_shared<HoldState>();
    holds[path].push_back(state);
    return {*this, state};
}

std::vector<PlatformServer::Request> PlatformServer::requests() const {
    const std::scoped_lock lock(m_mutex);
    return m_requests;
}

std::vector<PlatformServer::Request> PlatformServer::requests(const std::string& path) const {
    std::vector<Request> matching;
    for (const Request& request : requests()) {
        if (pathOf(request.target) == path) {
            matching.push_back(request);
        }
    }
    return matching;
}

void PlatformServer::wake() const {
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = ::write(m_wake.get(), &one, sizeof one);
}

void PlatformServer::run() {
    for (;;) {
        std::vector<pollfd> polled{{m_wake.get(), POLLIN, 0}, {m_listener.get(), POLLIN, 0}};
        for (const auto& connection : m_connections) {
            const bool unread = isHeld(*connection) && !connection->answerReady;
            polled.push_back({connection->socket.get(), static_cast<short>(unread ? POLLRDHUP : POLLIN), 0});
        }
        ::poll(polled.data(), polled.size(), -1);
        std::uint64_t count = 0;
        [[maybe_unused]] const auto read = ::read(m_wake.get(), &count, sizeof count);
        {
            const std::scoped_lock lock(m_mutex);
            if (m_end) {
                return;
            }
        }
        for (std::size_t i = 2; i < polled.size(); ++i) {
            Connection& connection = *m_connections[i - 2];
            if ((polled[i].revents & (POLLRDHUP | POLLHUP | POLLERR)) != 0 && isHeld(connection)) {
                abandon(connection);
            } else if ((polled[i].revents & POLLIN) != 0) {
                receive(connection);
            }
            proceed(connection);
        }
        std::erase_if(m_connections, [](const auto& connection) { return !connection->socket; });
        if ((polled[1].revents & POLLIN) != 0) {
            accept();
        }
    }
}

void PlatformServer::accept() {
    auto connection = std::make_unique<Connection>();
    connection->socket = UniqueFd(::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (connection->socket) {
        m_connections.push_back(std::move(connection));
    }
}

void PlatformServer::receive(Connection& connection) {
    std::array<char, receiveBufferBytes> block;
    const ssize_t got = ::recv(connection.socket.get(), block.data(), block.size(), 0);
    if (got > 0) {
        connection.received.append(block.data(), static_cast<std::size_t>(got));
    } else {
        abandon(connection);
    }
}

void PlatformServer::abandon(Connection& connection) {
    connection.socket.reset();
    if (connection.hold) {
        const std::scoped_lock lock(m_mutex);
        connection.hold->abandoned = true;
    }
}

bool PlatformServer::isHeld(const Connection& connection) const {
    const std::scoped_lock lock(m_mutex);
    return connection.hold && !connection.hold->released;
}

std::shared_ptr<PlatformServer::HoldState>
PlatformServer::takeHold(std::map<std::string, std::vector<std::shared_ptr<HoldState>>>& holds,
                         const std::string& path) {
    auto& waiting = holds[path];
    if (waiting.empty()) {
        return nullptr;
    }
    const std::shared_ptr<HoldState> hold = waiting.front();
    waiting.erase(waiting.begin());
    hold->arrived = true;
    return hold;
}

/// Takes the request as far as its bytes and its hold allow.
void PlatformServer::proceed(Connection& connection) {
    if (!connection.socket || isHeld(connection)) {
        return;
    }
    if (connection.answerReady) {
        respond(connection);
        return;
    }
    std::optional<Request> request = parsedHead(connection.received);
    if (!request) {
        return;
    }
    const std::string path = pathOf(request->target);
    if (!connection.headSeen) {
        connection.headSeen = true;
        const std::scoped_lock lock(m_mutex);
        connection.hold = takeHold(m_bodyHolds, path);
        if (connection.hold) {
            return;
        }
    }
    const std::size_t bodyStart = connection.received.find(endOfHead) + endOfHead.size();
    const std::size_t length = bodyLength(*request);
    if (connection.received.size() < bodyStart + length) {
        return;
    }
    request->body = connection.received.substr(bodyStart, length);
    connection.received.erase(0, bodyStart + length);
    {
        const std::scoped_lock lock(m_mutex);
        m_requests.push_back(std::move(*request));
        const auto found = m_answers.find(path);
        connection.answer = found == m_answers.end() ? Answer() : found->second;
        connection.hold = takeHold(m_answerHolds, path);
    }
    connection.answerReady = true;
    if (!isHeld(connection)) {
        respond(connection);
    }
}

void PlatformServer::respond(Connection& connection) {
    connection.hold = nullptr;
    connection.headSeen = false;
    connection.answerReady = false;
    if (connection.answer.close) {
        connection.socket.reset();
        return;
    }
    const std::string bytes = "HTTP/1.1 " + std::to_string(connection.answer.status) +
                              " Answer\r\ncontent-type: application/json\r\ncontent-length: " +
                              std::to_string(connection.answer.body.size()) + "\r\n\r\n" + connection.answer.body;
    std::string_view left = bytes;
    while (!left.empty()) {
        const ssize_t sent = ::send(connection.socket.get(), left.data(), left.size(), MSG_NOSIGNAL);
        if (sent < 0) {
            connection.socket.reset();
            return;
        }
        left.remove_prefix(static_cast<std::size_t>(sent));
    }
}

} // namespace driftwell::tests
