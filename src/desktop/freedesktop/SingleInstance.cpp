#include "desktop/freedesktop/SingleInstance.h"

#include "desktop/freedesktop/LaunchReceiver.h"
#include "desktop/freedesktop/RuntimeFolder.h"
#include "support/SystemError.h"

#include <QCryptographicHash>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <thread>

namespace driftwell {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds pauseBetweenAttempts(10);

/// Without the sticky bit a folder for the session is swept of files that nobody has touched for hours (XDG Base
/// Directory).
constexpr mode_t ownAndSticky = S_ISVTX | S_IRUSR | S_IWUSR;

/// The same for every way to name a folder, and short.
std::string keyOf(const std::filesystem::path& configFolder) {
    const std::filesystem::path absolute = std::filesystem::absolute(configFolder);
    std::error_code failed;
    const std::filesystem::path canonical = std::filesystem::weakly_canonical(absolute, failed);
    const std::string name = (failed ? absolute : canonical).string();
    const QByteArray hash = QCryptographicHash::hash(QByteArray::fromStdString(name), QCryptographicHash::Sha256);
    return hash.toHex().left(16).toStdString();
}

UniqueFd openFolder(const std::filesystem::path& folder) {
    return UniqueFd(checked(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC), folder.c_str()));
}

/// The address of a socket in an open folder. Through the descriptor it fits whatever the folder's path is (unix(7)).
sockaddr_un addressOf(const UniqueFd& folder, const std::string& name) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = "/proc/self/fd/" + std::to_string(folder.get()) + '/' + name;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    return address;
}

UniqueFd newSocket() {
    return UniqueFd(checked(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0), "socket"));
}

UniqueFd connectTo(const UniqueFd& folder, const std::string& name) {
    UniqueFd connection = newSocket();
    const sockaddr_un address = addressOf(folder, name);
    const int result = ::connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    return result == 0 ? std::move(connection) : UniqueFd();
}

bool waitFor(const UniqueFd& connection, short event, Clock::time_point deadline) {
    pollfd waiting{connection.get(), event, 0};
    int ready = -1;
    do {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        ready = ::poll(&waiting, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
    } while (ready < 0 && errno == EINTR);
    return ready > 0;
}

bool sendAll(const UniqueFd& connection, std::string_view bytes, Clock::time_point deadline) {
    while (!bytes.empty()) {
        const ssize_t sent = ::send(connection.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        } else if (errno != EAGAIN || !waitFor(connection, POLLOUT, deadline)) {
            return false;
        }
    }
    return ::shutdown(connection.get(), SHUT_WR) == 0;
}

bool isAcknowledged(const UniqueFd& connection, Clock::time_point deadline) {
    char answer = 0;
    return waitFor(connection, POLLIN, deadline) && ::recv(connection.get(), &answer, 1, 0) == 1 &&
           answer == LaunchReceiver::acknowledgement;
}

bool handOver(const UniqueFd& connection, std::string_view request, Clock::time_point deadline) {
    return sendAll(connection, request, deadline) && isAcknowledged(connection, deadline);
}

} // namespace

SingleInstance::NoAnswer::NoAnswer() : std::runtime_error("Driftwell is already running, but it does not answer.") {}

SingleInstance::SingleInstance(const std::filesystem::path& configFolder, std::chrono::milliseconds timeout)
    : m_key(keyOf(configFolder)), m_timeout(timeout) {}

SingleInstance::~SingleInstance() {
    // Before the lock goes, since from then on the socket of this name is another process's.
    if (m_socket) {
        ::unlinkat(m_folder.get(), socketName().c_str(), 0);
    }
}

SingleInstance::Role SingleInstance::claim(const LaunchRequest& request) {
    const std::string encoded = request.encoded();
    if (encoded.size() > LaunchRequest::largestEncoding) {
        throw std::length_error("This is more than can be handed over at once.");
    }
    m_folder = openFolder(runtimeFolder());
    const Clock::time_point deadline = Clock::now() + m_timeout;
    while (!takeLock()) {
        const UniqueFd first = connectTo(m_folder, socketName());
        if (first && handOver(first, encoded, deadline)) {
            return Role::HandedOver;
        }
        if (Clock::now() >= deadline) {
            throw NoAnswer();
        }
        // The first start is between its lock and its socket, or it is just ending.
        std::this_thread::sleep_for(pauseBetweenAttempts);
    }
    openSocket();
    return Role::First;
}

void SingleInstance::listen() {
    m_receiver = std::make_unique<LaunchReceiver>(m_socket, m_timeout);
    connect(m_receiver.get(), &LaunchReceiver::received, this,
            [this](const LaunchRequest& request) { Q_EMIT activated(request.arguments, request.activationToken); });
}

std::string SingleInstance::socketName() const {
    return m_key + ".socket";
}

bool SingleInstance::takeLock() {
    const std::string name = m_key + ".lock";
    UniqueFd lock(
        checked(::openat(m_folder.get(), name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, ownAndSticky), name.c_str()));
    if (::flock(lock.get(), LOCK_EX | LOCK_NB) < 0) {
        return false;
    }
    m_lock = std::move(lock);
    return true;
}

void SingleInstance::openSocket() {
    // What a first start that was killed has left.
    ::unlinkat(m_folder.get(), socketName().c_str(), 0);
    m_socket = newSocket();
    const sockaddr_un address = addressOf(m_folder, socketName());
    checked(::bind(m_socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), "bind");
    checked(::chmod(address.sun_path, ownAndSticky), "chmod");
    checked(::listen(m_socket.get(), SOMAXCONN), "listen");
}

} // namespace driftwell
