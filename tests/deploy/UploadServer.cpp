#include "tests/deploy/UploadServer.h"

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
#include <sstream>

namespace driftwell::tests {

namespace {

/// Small, so that a client cannot send much more than is read.
constexpr int receiveBuffer = 64 * 1024;

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char byte) { return static_cast<char>(std::tolower(byte)); });
    return text;
}

UploadServer::Request parsed(const std::string& head) {
    UploadServer::Request request;
    std::istringstream lines(head);
    std::string line;
    const auto nextLine = [&] {
        const bool isThere = std::getline(lines, line) && line != "\r";
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        return isThere;
    };
    if (nextLine()) {
        request.line = line;
    }
    while (nextLine()) {
        const std::size_t colon = line.find(':');
        request.headers[lowerCase(line.substr(0, colon))] = line.substr(line.find_first_not_of(' ', colon + 1));
    }
    return request;
}

} // namespace

UploadServer::UploadServer()
    : m_listener(checked(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket")),
      m_end(checked(::eventfd(0, EFD_CLOEXEC), "eventfd")) {
    checked(::setsockopt(m_listener.get(), SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer), "setsockopt");
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    checked(::bind(m_listener.get(), generic, size), "bind");
    checked(::listen(m_listener.get(), 8), "listen");
    checked(::getsockname(m_listener.get(), generic, &size), "getsockname");
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { serve(); });
}

UploadServer::~UploadServer() {
    {
        const std::scoped_lock lock(m_mutex);
        m_isEnding = true;
    }
    m_changed.notify_all();
    ::eventfd_write(m_end.get(), 1);
    m_thread.join();
}

std::string UploadServer::origin() const {
    return "http://127.0.0.1:" + std::to_string(m_port);
}

void UploadServer::answerWith(int status, std::string body) {
    const std::scoped_lock lock(m_mutex);
    m_status = status;
    m_body = std::move(body);
}

void UploadServer::answerNothing() {
    const std::scoped_lock lock(m_mutex);
    m_isSilent = true;
}

void UploadServer::hold(Hold where) {
    const std::scoped_lock lock(m_mutex);
    m_hold = where;
}

bool UploadServer::isHeld() const {
    const std::scoped_lock lock(m_mutex);
    return m_isHeld;
}

void UploadServer::release() {
    hold(Hold::Nowhere);
    m_changed.notify_all();
}

std::vector<UploadServer::Request> UploadServer::requests() const {
    const std::scoped_lock lock(m_mutex);
    return m_requests;
}

std::size_t UploadServer::connections() const {
    const std::scoped_lock lock(m_mutex);
    return m_connections;
}

void UploadServer::serve() {
    for (;;) {
        std::array<pollfd, 2> ready{pollfd{m_listener.get(), POLLIN, 0}, pollfd{m_end.get(), POLLIN, 0}};
        ::poll(ready.data(), ready.size(), -1);
        if (ready[1].revents != 0) {
            return;
        }
        if (ready[0].revents == 0) {
            continue; // a signal
        }
        const UniqueFd connection(::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (connection) {
            serveConnection(connection.get());
        }
    }
}

void UploadServer::serveConnection(int connection) {
    {
        const std::scoped_lock lock(m_mutex);
        ++m_connections;
    }
    std::string buffer;
    std::size_t headEnd = std::string::npos;
    while ((headEnd = buffer.find("\r\n\r\n")) == std::string::npos) {
        if (!readSome(connection, buffer)) {
            return;
        }
    }
    Request request = parsed(buffer.substr(0, headEnd + 4));
    buffer.erase(0, headEnd + 4);
    waitWhileHeld(Hold::InBody);
    const std::size_t size = std::stoul("0" + request.headers["content-length"]);
    while (buffer.size() < size && !request.isCutOff) {
        request.isCutOff = !readSome(connection, buffer);
    }
    request.body = std::move(buffer);
    const bool isWhole = !request.isCutOff;
    {
        const std::scoped_lock lock(m_mutex);
        m_requests.push_back(std::move(request));
    }
    if (isWhole) {
        waitWhileHeld(Hold::BeforeAnswer);
        answer(connection);
    }
}

bool UploadServer::readSome(int connection, std::string& buffer) const {
    std::array<pollfd, 2> ready{pollfd{connection, POLLIN, 0}, pollfd{m_end.get(), POLLIN, 0}};
    ::poll(ready.data(), ready.size(), -1);
    if (ready[1].revents != 0) {
        return false;
    }
    std::array<char, 64 * 1024> block;
    const ssize_t got = ::recv(connection, block.data(), block.size(), 0);
    if (got > 0) {
        buffer.append(block.data(), static_cast<std::size_t>(got));
    }
    return got > 0;
}

void UploadServer::waitWhileHeld(Hold where) {
    std::unique_lock lock(m_mutex);
    m_isHeld = m_hold == where;
    m_changed.wait(lock, [&] { return m_hold != where || m_isEnding; });
    m_isHeld = false;
}

void UploadServer::answer(int connection) const {
    std::string text;
    {
        const std::scoped_lock lock(m_mutex);
        if (m_isSilent || m_isEnding) {
            return;
        }
        text = "HTTP/1.1 " + std::to_string(m_status) +
               " Answer\r\ncontent-type: application/json\r\ncontent-length: " + std::to_string(m_body.size()) +
               "\r\nconnection: close\r\n\r\n" + m_body;
    }
    [[maybe_unused]] const ssize_t sent = ::send(connection, text.data(), text.size(), MSG_NOSIGNAL);
}

} // namespace driftwell::tests
