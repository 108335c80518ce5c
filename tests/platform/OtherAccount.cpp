#include "tests/platform/OtherAccount.h"

#include "support/SystemError.h"
#include "tests/Await.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace driftwell::tests {

namespace {

/// Of the account "nobody", and nobody's in particular.
constexpr uid_t otherUser = 65534;

sockaddr_in6 mapped(std::uint16_t port) {
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_port = htons(port);
    ::inet_pton(AF_INET6, "::ffff:127.0.0.1", &address.sin6_addr);
    return address;
}

sockaddr_in plain(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

/// In the child, which may only call what is safe after fork(2) in a process with threads.
[[noreturn]] void talk(OtherAccount::Socket kind, sockaddr_in v4, sockaddr_in6 v6, const std::string& request,
                       int output) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::setresgid(otherUser, otherUser, otherUser) < 0 || ::setresuid(otherUser, otherUser, otherUser) < 0) {
        ::_exit(1);
    }
    const bool isMapped = kind == OtherAccount::Socket::MappedIpv6;
    const int socket = ::socket(isMapped ? AF_INET6 : AF_INET, SOCK_STREAM, 0);
    const int connected = isMapped ? ::connect(socket, reinterpret_cast<const sockaddr*>(&v6), sizeof v6)
                                   : ::connect(socket, reinterpret_cast<const sockaddr*>(&v4), sizeof v4);
    if (connected < 0 || ::send(socket, request.data(), request.size(), MSG_NOSIGNAL) < 0) {
        ::_exit(2);
    }
    std::array<char, 4096> block;
    for (ssize_t got = 1; got > 0;) {
        got = ::recv(socket, block.data(), block.size(), 0);
        if (got > 0 && ::write(output, block.data(), static_cast<std::size_t>(got)) != got) {
            ::_exit(3);
        }
    }
    ::_exit(0);
}

} // namespace

bool OtherAccount::isPossibleHere() {
    return ::geteuid() == 0;
}

OtherAccount::OtherAccount(std::uint16_t port, const std::string& request, Socket socket) {
    int ends[2];
    checked(::pipe2(ends, O_CLOEXEC), "pipe2");
    m_answer = UniqueFd(ends[0]);
    const UniqueFd output(ends[1]);
    const sockaddr_in v4 = plain(port);
    const sockaddr_in6 v6 = mapped(port);
    m_process = checked(::fork(), "fork");
    if (m_process == 0) {
        talk(socket, v4, v6, request, output.get());
    }
    checked(::fcntl(m_answer.get(), F_SETFL, O_NONBLOCK), "fcntl");
}

OtherAccount::~OtherAccount() {
    ::kill(m_process, SIGKILL);
    ::waitpid(m_process, nullptr, 0);
}

std::string OtherAccount::answer() {
    std::string text;
    waitUntil([this, &text] {
        std::array<char, 4096> block;
        const ssize_t got = ::read(m_answer.get(), block.data(), block.size());
        if (got > 0) {
            text.append(block.data(), static_cast<std::size_t>(got));
        }
        return got == 0 || (got < 0 && errno != EAGAIN);
    });
    return text;
}

} // namespace driftwell::tests
