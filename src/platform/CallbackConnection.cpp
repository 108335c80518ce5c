#include "platform/CallbackConnection.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>

namespace driftwell {

namespace {

constexpr std::size_t blockSize = 8192;
using Block = std::array<char, blockSize>;

bool isTemporary(int error) {
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

} // namespace

std::uint32_t CallbackConnection::wanted() const {
    return m_phase == Phase::Writing ? EPOLLOUT : EPOLLIN;
}

bool CallbackConnection::advance(const std::function<QByteArray(std::string_view)>& respond) {
    switch (m_phase) {
    case Phase::Reading:
        return read(respond);
    case Phase::Writing:
        return write();
    case Phase::Leaving:
        return drain();
    }
    Q_UNREACHABLE();
}

bool CallbackConnection::read(const std::function<QByteArray(std::string_view)>& respond) {
    Block block;
    const ssize_t got = ::recv(m_socket.get(), block.data(), block.size(), 0);
    if (got <= 0) {
        return got < 0 && isTemporary(errno);
    }
    switch (m_reader.read({block.data(), static_cast<std::size_t>(got)})) {
    case RequestHeadReader::Progress::NeedsMore:
        return true;
    case RequestHeadReader::Progress::Refused:
        return false;
    case RequestHeadReader::Progress::Complete:
        m_unsent = respond(m_reader.requestLine());
        m_phase = Phase::Writing;
        return write();
    }
    Q_UNREACHABLE();
}

bool CallbackConnection::write() {
    const ssize_t sent =
        ::send(m_socket.get(), m_unsent.constData(), static_cast<std::size_t>(m_unsent.size()), MSG_NOSIGNAL);
    if (sent < 0) {
        return isTemporary(errno);
    }
    m_unsent.remove(0, sent);
    if (!m_unsent.isEmpty()) {
        return true;
    }
    m_phase = Phase::Leaving;
    return ::shutdown(m_socket.get(), SHUT_WR) == 0;
}

bool CallbackConnection::drain() {
    Block block;
    const ssize_t got = ::recv(m_socket.get(), block.data(), block.size(), 0);
    if (got <= 0) {
        return got < 0 && isTemporary(errno);
    }
    m_drained += static_cast<std::size_t>(got);
    return m_drained < RequestHeadReader::limit;
}

} // namespace driftwell
