#include "apps/sandbox/Connection.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace driftwell::sandbox {

namespace {

using std::chrono::milliseconds;

constexpr size_t receiveBuffer = 256 * 1024;
constexpr milliseconds transferTime{30'000};
constexpr milliseconds lingerPause{500};
constexpr milliseconds lingerTime{2'000};

void describe(const sockaddr_storage& peer, std::string& address, int& port) {
    char text[INET6_ADDRSTRLEN] = {};
    if (peer.ss_family == AF_INET6) {
        const auto& six = reinterpret_cast<const sockaddr_in6&>(peer);
        inet_ntop(AF_INET6, &six.sin6_addr, text, sizeof text);
        port = ntohs(six.sin6_port);
    } else {
        const auto& four = reinterpret_cast<const sockaddr_in&>(peer);
        inet_ntop(AF_INET, &four.sin_addr, text, sizeof text);
        port = ntohs(four.sin_port);
    }
    address = text;
}

} // namespace

Connection::Connection(int socket, const StopSignal& stop, ConnectionQueue& queue)
    : m_socket(socket), m_stop(stop), m_place(queue, socket), m_buffer(receiveBuffer) {
    // The head and the body of an answer are two writes; without this the second waits for the first's acknowledgement.
    const int yes = 1;
    setsockopt(m_socket.number, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
}

Connection::Socket::~Socket() {
    close(number);
}

Connection::Wait Connection::waitFor(short events, milliseconds time) {
    pollfd watched[] = {{.fd = m_socket.number, .events = events, .revents = 0},
                        {.fd = m_stop.descriptor(), .events = POLLIN, .revents = 0}};
    int ready = 0;
    m_place.beginSilence();
    do {
        ready = poll(watched, 2, static_cast<int>(time.count()));
    } while (ready < 0 && errno == EINTR);
    m_place.endSilence();
    if (watched[1].revents != 0) {
        return Wait::Stopped;
    }
    return ready > 0 ? Wait::Ready : Wait::TimedOut;
}

Connection::Next Connection::waitForRequest() {
    if (m_broken) {
        return Next::Nothing;
    }
    if (m_begin < m_end) {
        return Next::Request;
    }
    if (waitFor(POLLIN, idleTime) != Wait::Ready) {
        return Next::Nothing;
    }
    const ssize_t got = receive(m_buffer.data(), m_buffer.size());
    if (got <= 0) {
        return Next::Nothing;
    }
    m_begin = 0;
    m_end = static_cast<size_t>(got);
    return Next::Request;
}

void Connection::beginRequest() {
    m_headDeadline = std::chrono::steady_clock::now() + headTime;
    m_headRead = 0;
    m_lineRead = 0;
    m_inBody = false;
    m_bodyRead = 0;
    m_bodyLength = 0;
    m_answerWritten = 0;
    m_answerLimit.reset();
    m_uploadLimit.reset();
}

void Connection::beginBody(std::optional<std::uint64_t> length) {
    m_inBody = true;
    m_bodyLength = length;
}

std::optional<std::uint64_t> Connection::bodyRemaining() const {
    if (!m_bodyLength) {
        return std::nullopt;
    }
    return *m_bodyLength - std::min(m_bodyRead, *m_bodyLength);
}

void Connection::breakOff() {
    m_broken = true;
    shutdown(m_socket.number, SHUT_RDWR);
}

ssize_t Connection::receive(char* data, size_t size) {
    for (;;) {
        const ssize_t got = recv(m_socket.number, data, size, MSG_DONTWAIT);
        if (got >= 0) {
            return got;
        }
        if (errno == EINTR) {
            continue;
        }
        if (errno != EAGAIN || waitFor(POLLIN, timeForNextPiece()) != Wait::Ready) {
            return -1;
        }
    }
}

milliseconds Connection::timeForNextPiece() const {
    if (m_inBody) {
        return transferTime;
    }
    const auto left = std::chrono::ceil<milliseconds>(m_headDeadline - std::chrono::steady_clock::now());
    return std::max(left, milliseconds(0));
}

bool Connection::isWithinLimits(const char* data, size_t taken, size_t asked) {
    m_headRead += m_inBody ? 0 : taken;
    // The library asks for lines byte by byte and for everything else in larger pieces; in a body a line is the size of
    // a chunk.
    m_lineRead = asked == 1 && *data != '\n' ? m_lineRead + 1 : 0;
    return m_headRead <= largestHead && m_lineRead <= largestHead;
}

ssize_t Connection::read(char* data, size_t size) {
    if (m_broken) {
        return -1;
    }
    if (m_inBody && m_uploadLimit) {
        const std::uint64_t left = *m_uploadLimit - std::min(m_bodyRead, *m_uploadLimit);
        if (left == 0) {
            breakOff();
            return -1;
        }
        size = static_cast<size_t>(std::min<std::uint64_t>(size, left));
    }
    if (m_begin == m_end) {
        const ssize_t got = m_stop.requested() ? -1 : receive(m_buffer.data(), m_buffer.size());
        if (got <= 0) {
            m_broken = true;
            return got;
        }
        m_begin = 0;
        m_end = static_cast<size_t>(got);
    }
    const size_t taken = std::min(size, m_end - m_begin);
    std::memcpy(data, m_buffer.data() + m_begin, taken);
    m_begin += taken;
    if (m_inBody) {
        m_bodyRead += taken;
    }
    if (!isWithinLimits(data, taken, size)) {
        breakOff();
        return -1;
    }
    return static_cast<ssize_t>(taken);
}

ssize_t Connection::write(const char* data, size_t size) {
    if (m_broken) {
        return -1;
    }
    if (m_answerLimit) {
        size = static_cast<size_t>(
            std::min<std::uint64_t>(size, *m_answerLimit - std::min(m_answerWritten, *m_answerLimit)));
    }
    size_t written = 0;
    while (written < size) {
        const ssize_t sent = send(m_socket.number, data + written, size - written, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent >= 0) {
            written += static_cast<size_t>(sent);
        } else if (errno != EINTR && (errno != EAGAIN || waitFor(POLLOUT, transferTime) != Wait::Ready)) {
            m_broken = true;
            return -1;
        }
    }
    m_answerWritten += written;
    if (m_answerLimit && m_answerWritten >= *m_answerLimit) {
        breakOff();
        return -1;
    }
    return static_cast<ssize_t>(written);
}

void Connection::closeGently() {
    // Closing with unread bytes resets the connection, and the reset can overtake the answer. So the peer is told that
    // nothing more comes, and what it still sends is thrown away for a while.
    shutdown(m_socket.number, SHUT_WR);
    const auto deadline = std::chrono::steady_clock::now() + lingerTime;
    while (!m_broken && std::chrono::steady_clock::now() < deadline && waitFor(POLLIN, lingerPause) == Wait::Ready) {
        if (recv(m_socket.number, m_buffer.data(), m_buffer.size(), MSG_DONTWAIT) <= 0) {
            return;
        }
    }
}

void Connection::get_remote_ip_and_port(std::string& address, int& port) const {
    sockaddr_storage peer{};
    socklen_t length = sizeof peer;
    if (getpeername(m_socket.number, reinterpret_cast<sockaddr*>(&peer), &length) == 0) {
        describe(peer, address, port);
    }
}

void Connection::get_local_ip_and_port(std::string& address, int& port) const {
    sockaddr_storage own{};
    socklen_t length = sizeof own;
    if (getsockname(m_socket.number, reinterpret_cast<sockaddr*>(&own), &length) == 0) {
        describe(own, address, port);
    }
}

} // namespace driftwell::sandbox
