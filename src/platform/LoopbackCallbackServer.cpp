#include "platform/LoopbackCallbackServer.h"

#include "platform/PeerAccount.h"
#include "platform/PlatformError.h"
#include "support/Cancellation.h"
#include "support/SystemError.h"

#include <QSocketNotifier>
#include <QUuid>

#include <netinet/in.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace driftwell {

namespace {

constexpr std::uint64_t listenerId = 0;
constexpr std::chrono::milliseconds acceptPause(200);

QString freshState() {
    return QUuid::createUuid().toString(QUuid::Id128).toUpper();
}

UniqueFd listenOnLoopback() {
    UniqueFd socket(checked(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0), "socket"));
    const int reuse = 1;
    checked(::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse), "setsockopt");
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    checked(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), "bind");
    checked(::listen(socket.get(), SOMAXCONN), "listen");
    return socket;
}

std::uint16_t boundPort(const UniqueFd& listener) {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    const bool known = ::getsockname(listener.get(), reinterpret_cast<sockaddr*>(&address), &length) == 0;
    if (!known || address.sin_port == 0) {
        throw PlatformError::api(QStringLiteral("Could not open a local port for sign-in."));
    }
    return ntohs(address.sin_port);
}

/// Negative, and errno set, when it fails.
int watch(const UniqueFd& epoll, int operation, int descriptor, std::uint64_t id, std::uint32_t events) {
    epoll_event event{};
    event.events = events;
    event.data.u64 = id;
    return ::epoll_ctl(epoll.get(), operation, descriptor, &event);
}

/// Whether accept(2) failed for one connection alone.
bool concernsOneConnection(int error) {
    return error != EMFILE && error != ENFILE && error != ENOBUFS && error != ENOMEM;
}

} // namespace

LoopbackCallbackServer::LoopbackCallbackServer(Limits limits) : m_limits(limits), m_expectedState(freshState()) {
    m_nextDrop.setSingleShot(true);
    m_nextDrop.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_nextDrop, &QTimer::timeout, &m_nextDrop, [this] { dropOverdue(); });
    m_acceptAgain.setSingleShot(true);
    QObject::connect(&m_acceptAgain, &QTimer::timeout, &m_acceptAgain, [this] { listenFor(EPOLLIN); });
}

LoopbackCallbackServer::~LoopbackCallbackServer() {
    stop();
}

std::uint16_t LoopbackCallbackServer::start() {
    m_listener = listenOnLoopback();
    const std::uint16_t port = boundPort(m_listener);
    m_epoll = UniqueFd(checked(::epoll_create1(EPOLL_CLOEXEC), "epoll_create1"));
    checked(watch(m_epoll, EPOLL_CTL_ADD, m_listener.get(), listenerId, EPOLLIN), "epoll_ctl");
    m_ready = std::make_unique<QSocketNotifier>(m_epoll.get(), QSocketNotifier::Read);
    QObject::connect(m_ready.get(), &QSocketNotifier::activated, m_ready.get(), [this] { serve(); });
    return port;
}

Task<QString> LoopbackCallbackServer::waitForToken(std::stop_token stop) {
    // Not this: the server may be gone when the wait ends.
    Completion<QString> outcome = m_outcome;
    const std::stop_callback cancel(stop, [outcome]() mutable { outcome.fail(Cancelled()); });
    co_return co_await outcome;
}

void LoopbackCallbackServer::stop() {
    m_outcome.fail(Cancelled());
    m_nextDrop.stop();
    m_acceptAgain.stop();
    m_ready.reset();
    m_guests.clear();
    m_listener.reset();
    m_epoll.reset();
}

void LoopbackCallbackServer::serve() {
    std::array<epoll_event, 64> events{};
    const int count = ::epoll_wait(m_epoll.get(), events.data(), static_cast<int>(events.size()), 0);
    for (int i = 0; i < count; ++i) {
        const std::uint64_t id = events[static_cast<std::size_t>(i)].data.u64;
        if (id == listenerId) {
            acceptNew();
        } else {
            advance(id);
        }
    }
}

void LoopbackCallbackServer::acceptNew() {
    // Not for ever: the connections that are there have their turn too.
    for (std::size_t i = 0; i < m_limits.connections; ++i) {
        UniqueFd socket(::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (socket) {
            take(std::move(socket));
        } else if (errno == EAGAIN) {
            return;
        } else if (!concernsOneConnection(errno)) {
            pauseAccepting();
            return;
        }
    }
}

void LoopbackCallbackServer::take(UniqueFd socket) {
    if (m_guests.size() == m_limits.connections) {
        m_guests.erase(m_guests.begin());
    }
    const ConnectionId id = ++m_lastId;
    Guest guest{CallbackConnection(std::move(socket)), Clock::now() + m_limits.timeout};
    if (watch(m_epoll, EPOLL_CTL_ADD, guest.connection.descriptor(), id, guest.connection.wanted()) < 0) {
        return;
    }
    m_guests.emplace(id, std::move(guest));
    // At once, so that a request that has come already is read before newer connections can push this one out.
    advance(id);
    scheduleDrop();
}

void LoopbackCallbackServer::advance(ConnectionId id) {
    const auto found = m_guests.find(id);
    if (found == m_guests.end()) {
        return;
    }
    CallbackConnection& connection = found->second.connection;
    const auto answer = [this, &connection](std::string_view requestLine) {
        return respond(requestLine, connection.descriptor());
    };
    const std::uint32_t wanted = connection.wanted();
    const bool goesOn = connection.advance(answer);
    if (goesOn && connection.wanted() == wanted) {
        return;
    }
    if (!goesOn || watch(m_epoll, EPOLL_CTL_MOD, connection.descriptor(), id, connection.wanted()) < 0) {
        m_guests.erase(found);
    }
}

QByteArray LoopbackCallbackServer::respond(std::string_view requestLine, int connection) {
    const std::optional<QString> token = callbackToken(requestLine, m_expectedState);
    if (!token) {
        return notFoundResponse();
    }
    const std::optional<uid_t> account = accountOfPeer(connection);
    if (!account) {
        return unknownAccountResponse();
    }
    if (*account != ::geteuid()) {
        return otherAccountResponse();
    }
    // Whoever waits goes on later, when the answer is out.
    m_outcome.succeed(*token);
    return signedInResponse();
}

void LoopbackCallbackServer::pauseAccepting() {
    // The listener stays readable, and its event would come back without end.
    listenFor(0);
    m_acceptAgain.start(acceptPause);
}

void LoopbackCallbackServer::listenFor(std::uint32_t events) {
    watch(m_epoll, EPOLL_CTL_MOD, m_listener.get(), listenerId, events);
}

void LoopbackCallbackServer::dropOverdue() {
    while (!m_guests.empty() && m_guests.begin()->second.deadline <= Clock::now()) {
        m_guests.erase(m_guests.begin());
    }
    scheduleDrop();
}

void LoopbackCallbackServer::scheduleDrop() {
    if (m_guests.empty()) {
        m_nextDrop.stop();
    } else if (!m_nextDrop.isActive()) {
        // A connection that ends meanwhile only makes this one wake-up too many.
        const auto left = m_guests.begin()->second.deadline - Clock::now();
        m_nextDrop.start(std::chrono::ceil<std::chrono::milliseconds>(std::max(left, Clock::duration::zero())));
    }
}

} // namespace driftwell
