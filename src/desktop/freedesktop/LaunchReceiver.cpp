#include "desktop/freedesktop/LaunchReceiver.h"

#include <QTimer>

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <optional>
#include <string>

namespace driftwell {

namespace {

bool isOwnUsers(const UniqueFd& connection) {
    ucred peer{};
    socklen_t size = sizeof(peer);
    return ::getsockopt(connection.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == ::geteuid();
}

} // namespace

/// One sender, from its arrival to its end. A child of the receiver.
class LaunchReceiver::Sender : public QObject {
public:
    Sender(UniqueFd connection, std::chrono::milliseconds timeout, LaunchReceiver& receiver)
        : QObject(&receiver),
          m_receiver(receiver),
          m_connection(std::move(connection)),
          m_readable(m_connection.get(), QSocketNotifier::Read) {
        connect(&m_readable, &QSocketNotifier::activated, this, [this] { read(); });
        connect(&m_expiry, &QTimer::timeout, this, [this] { end(std::nullopt); });
        m_expiry.setSingleShot(true);
        m_expiry.start(timeout);
    }

private:
    void read() {
        std::array<char, 16 * 1024> buffer{};
        const ssize_t received = ::recv(m_connection.get(), buffer.data(), buffer.size(), 0);
        if (received < 0) {
            if (errno != EAGAIN && errno != EINTR) {
                end(std::nullopt);
            }
            return;
        }
        m_encoding.append(buffer.data(), static_cast<std::size_t>(received));
        if (received == 0) {
            end(LaunchRequest::decoded(m_encoding));
        } else if (m_encoding.size() > LaunchRequest::largestEncoding) {
            end(std::nullopt);
        }
    }

    void end(const std::optional<LaunchRequest>& request) {
        if (request) {
            ::send(m_connection.get(), &acknowledgement, 1, MSG_NOSIGNAL);
        }
        m_expiry.stop();
        m_readable.setEnabled(false);
        m_connection.reset();
        deleteLater();
        m_receiver.senderEnded();
        if (request) {
            Q_EMIT m_receiver.received(*request);
        }
    }

    LaunchReceiver& m_receiver;
    UniqueFd m_connection;
    QSocketNotifier m_readable;
    QTimer m_expiry;
    std::string m_encoding;
};

LaunchReceiver::LaunchReceiver(const UniqueFd& socket, std::chrono::milliseconds timeout)
    : m_socket(socket.get()), m_timeout(timeout), m_arrivals(m_socket, QSocketNotifier::Read) {
    connect(&m_arrivals, &QSocketNotifier::activated, this, &LaunchReceiver::acceptSender);
}

void LaunchReceiver::acceptSender() {
    UniqueFd connection(::accept4(m_socket, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (connection && isOwnUsers(connection)) {
        new Sender(std::move(connection), m_timeout, *this);
        ++m_senders;
        m_arrivals.setEnabled(m_senders < mostSendersAtOnce);
    }
}

void LaunchReceiver::senderEnded() {
    --m_senders;
    m_arrivals.setEnabled(true);
}

} // namespace driftwell
