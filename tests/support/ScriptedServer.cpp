#include "tests/support/ScriptedServer.h"

#include "support/SystemError.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <strings.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>

namespace driftwell::tests {

namespace {

/// Only ends a connection whose test hangs.
constexpr std::chrono::seconds stepDeadline(90);

} // namespace

Gate::Gate() : m_event(checked(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")) {}

void Gate::open() const {
    const std::uint64_t one = 1;
    checked(::write(m_event.get(), &one, sizeof one), "eventfd");
    m_isOpen = true;
}

bool Gate::isOpen() const {
    return m_isOpen;
}

std::string RecordedRequest::header(std::string_view name) const {
    std::string joined;
    bool found = false;
    for (const auto& [key, value] : headers) {
        if (key.size() == name.size() && ::strncasecmp(key.data(), name.data(), name.size()) == 0) {
            joined += (found ? "," : "") + value;
            found = true;
        }
    }
    return found ? joined : "(none)";
}

ServerConnection::ServerConnection(ScriptedServer& server, UniqueFd socket, int number)
    : m_server(server), m_socket(std::move(socket)), m_number(number) {}

bool ServerConnection::waitForAtMost(Interest interest, int other, std::chrono::milliseconds limit) {
    std::array<pollfd, 3> states{};
    states[0] = {m_server.m_stop.descriptor(), POLLIN, 0};
    states[1] = {other, POLLIN, 0};
    states[2] = {interest == Interest::GateOnly ? -1 : m_socket.get(),
                 static_cast<short>(interest == Interest::Writable ? POLLOUT : POLLIN), 0};
    int ready = 0;
    do {
        ready = ::poll(states.data(), states.size(), static_cast<int>(limit.count()));
    } while (ready < 0 && errno == EINTR);
    if (ready < 0 || states[0].revents != 0) {
        throw Ended();
    }
    return ready > 0;
}

void ServerConnection::waitFor(Interest interest, int other) {
    if (!waitForAtMost(interest, other, stepDeadline)) {
        throw Ended();
    }
}

std::size_t ServerConnection::receive(char* buffer, std::size_t size) {
    waitFor(Interest::Readable);
    const ssize_t got = ::recv(m_socket.get(), buffer, size, 0);
    if (got <= 0) {
        throw Ended();
    }
    return static_cast<std::size_t>(got);
}

std::string ServerConnection::readHead() {
    std::array<char, 4096> block{};
    std::size_t end = 0;
    while ((end = m_buffered.find("\r\n\r\n")) == std::string::npos) {
        m_buffered.append(block.data(), receive(block.data(), block.size()));
    }
    const std::string head = m_buffered.substr(0, end + 2);
    m_buffered.erase(0, end + 4);

    RecordedRequest request;
    request.connection = m_number;
    std::size_t lineEnd = head.find("\r\n");
    const std::string requestLine = head.substr(0, lineEnd);
    const std::size_t methodEnd = requestLine.find(' ');
    const std::size_t targetEnd = requestLine.rfind(' ');
    request.method = requestLine.substr(0, methodEnd);
    request.target = requestLine.substr(methodEnd + 1, targetEnd - methodEnd - 1);
    for (std::size_t begin = lineEnd + 2; begin < head.size(); begin = lineEnd + 2) {
        lineEnd = head.find("\r\n", begin);
        const std::string line = head.substr(begin, lineEnd - begin);
        const std::size_t colon = line.find(": ");
        request.headers.emplace_back(line.substr(0, colon), line.substr(std::min(colon + 2, line.size())));
    }
    const std::string length = request.header("content-length");
    m_contentLength = length == "(none)" ? 0 : std::stoll(length);

    std::string method = request.method;
    const std::scoped_lock lock(m_server.m_mutex);
    m_request = m_server.m_requests.size();
    m_server.m_requests.push_back(std::move(request));
    return method;
}

void ServerConnection::noteBody(const char* data, std::size_t size) {
    const std::scoped_lock lock(m_server.m_mutex);
    RecordedRequest& request = m_server.m_requests.at(m_request);
    request.bodyBytes += static_cast<std::int64_t>(size);
    const std::size_t kept = m_server.m_options.keptBodyBytes;
    request.body.append(data, std::min(size, kept - std::min(kept, request.body.size())));
}

RecordedRequest ServerConnection::request() const {
    const std::scoped_lock lock(m_server.m_mutex);
    return m_server.m_requests.at(m_request);
}

void ServerConnection::readBody() {
    readSlowly(m_contentLength, 256 * 1024, {});
}

std::string ServerConnection::readRequest() {
    std::string method = readHead();
    readBody();
    return method;
}

void ServerConnection::readSlowly(std::int64_t total, std::size_t piece, std::chrono::milliseconds pauseTime) {
    const auto fromHead = static_cast<std::size_t>(std::min<std::int64_t>(total, std::ssize(m_buffered)));
    noteBody(m_buffered.data(), fromHead);
    m_buffered.erase(0, fromHead);
    std::vector<char> block(piece);
    for (std::int64_t left = total - static_cast<std::int64_t>(fromHead); left > 0;) {
        const std::size_t wanted = std::min<std::size_t>(piece, static_cast<std::size_t>(left));
        const std::size_t got = receive(block.data(), wanted);
        noteBody(block.data(), got);
        left -= static_cast<std::int64_t>(got);
        if (pauseTime.count() > 0) {
            pause(pauseTime);
        }
    }
}

void ServerConnection::send(std::string_view bytes) {
    while (!bytes.empty()) {
        waitFor(Interest::Writable);
        const ssize_t sent = ::send(m_socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0 && (errno == EAGAIN || errno == EINTR)) {
            continue;
        }
        if (sent <= 0) {
            throw Ended();
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

void ServerConnection::drip(std::string_view bytes, std::size_t piece, std::chrono::milliseconds pauseTime) {
    while (!bytes.empty()) {
        const std::string_view next = bytes.substr(0, piece);
        send(next);
        bytes.remove_prefix(next.size());
        pause(pauseTime);
    }
}

void ServerConnection::sendForever(std::string_view bytes, std::chrono::milliseconds pauseTime) {
    for (;;) {
        send(bytes);
        if (pauseTime.count() > 0) {
            pause(pauseTime);
        }
    }
}

void ServerConnection::pause(std::chrono::milliseconds duration) {
    waitForAtMost(Interest::GateOnly, -1, duration);
}

void ServerConnection::wait(const Gate& gate) {
    waitFor(Interest::GateOnly, gate.descriptor());
}

bool ServerConnection::waitUnlessGone(const std::function<bool()>& condition) {
    const auto expiry = std::chrono::steady_clock::now() + stepDeadline;
    while (!condition()) {
        pollfd state{m_socket.get(), POLLRDHUP, 0};
        if (::poll(&state, 1, 0) > 0) {
            return false;
        }
        if (std::chrono::steady_clock::now() > expiry) {
            throw Ended();
        }
        pause(std::chrono::milliseconds(2));
    }
    return true;
}

void ServerConnection::awaitClose() {
    std::vector<char> block(256 * 1024);
    try {
        for (;;) {
            receive(block.data(), block.size());
        }
    } catch (const Ended&) {
        if (m_server.m_stop.isOpen()) {
            throw;
        }
    }
}

void ServerConnection::halfClose() {
    ::shutdown(m_socket.get(), SHUT_WR);
}

void ServerConnection::reset() {
    const linger abort{1, 0};
    ::setsockopt(m_socket.get(), SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
    m_socket.reset();
}

void ServerConnection::close() {
    m_socket.reset();
}

ScriptedServer::ScriptedServer(std::vector<Script> scripts, Options options)
    : m_scripts(std::move(scripts)),
      m_options(options),
      m_listener(checked(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket")) {
    if (m_options.receiveBufferBytes > 0) {
        checked(::setsockopt(m_listener.get(), SOL_SOCKET, SO_RCVBUF, &m_options.receiveBufferBytes,
                             sizeof m_options.receiveBufferBytes),
                "SO_RCVBUF");
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    checked(::bind(m_listener.get(), generic, size), "bind");
    checked(::listen(m_listener.get(), SOMAXCONN), "listen");
    checked(::getsockname(m_listener.get(), generic, &size), "getsockname");
    m_port = ntohs(address.sin_port);
    m_accepting = std::thread([this] { accept(); });
}

ScriptedServer::~ScriptedServer() {
    m_stop.open();
    m_accepting.join();
    for (std::thread& thread : m_serving) {
        thread.join();
    }
    EXPECT_EQ(m_unexpected, 0) << "connections for which the server had no script";
}

void ScriptedServer::accept() {
    for (;;) {
        std::array<pollfd, 2> states{pollfd{m_stop.descriptor(), POLLIN, 0}, pollfd{m_listener.get(), POLLIN, 0}};
        if (::poll(states.data(), states.size(), -1) < 0) {
            continue; // a signal
        }
        if (states[0].revents != 0) {
            return;
        }
        UniqueFd socket(::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (!socket) {
            continue;
        }
        const std::scoped_lock lock(m_mutex);
        const int number = m_connections++;
        const auto index = static_cast<std::size_t>(number);
        if (index >= m_scripts.size() && m_options.further == Further::Unexpected) {
            ++m_unexpected;
            continue;
        }
        const Script& script = m_scripts.at(std::min(index, m_scripts.size() - 1));
        m_serving.emplace_back([this, &script, socket = std::move(socket), number]() mutable {
            serve(script, std::move(socket), number);
        });
    }
}

void ScriptedServer::serve(const Script& script, UniqueFd socket, int number) {
    ServerConnection connection(*this, std::move(socket), number);
    try {
        script(connection);
    } catch (const ServerConnection::Ended&) {
        // The connection closes with the object.
    }
}

QByteArray ScriptedServer::url(std::string_view path) const {
    return "http://127.0.0.1:" + QByteArray::number(m_port) +
           QByteArray(path.data(), static_cast<qsizetype>(path.size()));
}

std::vector<RecordedRequest> ScriptedServer::requests() const {
    const std::scoped_lock lock(m_mutex);
    return m_requests;
}

RecordedRequest ScriptedServer::onlyRequest() const {
    std::vector<RecordedRequest> all = requests();
    if (all.size() != 1) {
        throw std::logic_error("not one request but " + std::to_string(all.size()));
    }
    return std::move(all.front());
}

int ScriptedServer::count(std::string_view method) const {
    const std::scoped_lock lock(m_mutex);
    return static_cast<int>(
        std::ranges::count(m_requests, method, [](const RecordedRequest& request) { return request.method; }));
}

int ScriptedServer::connections() const {
    const std::scoped_lock lock(m_mutex);
    return m_connections;
}

std::string answer(std::string_view status, std::string_view body, std::string_view headers) {
    std::string text = "HTTP/1.1 ";
    text.append(status).append("\r\n").append(headers);
    text.append("Content-Length: ").append(std::to_string(body.size())).append("\r\n\r\n").append(body);
    return text;
}

ScriptedServer::Script answering(std::vector<std::string> answers) {
    return [answers = std::move(answers)](ServerConnection& connection) {
        for (const std::string& text : answers) {
            connection.readRequest();
            connection.send(text);
        }
        connection.awaitClose();
    };
}

ScriptedServer::Script answering(std::string answer) {
    return answering(std::vector<std::string>{std::move(answer)});
}

ScriptedServer::Script sendingAndClosing(std::string bytes) {
    return [bytes = std::move(bytes)](ServerConnection& connection) {
        connection.readRequest();
        connection.send(bytes);
        connection.close();
    };
}

} // namespace driftwell::tests
