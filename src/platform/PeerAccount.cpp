#include "platform/PeerAccount.h"

#include "support/UniqueFd.h"

#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstddef>
#include <cstring>

namespace driftwell {

namespace {

struct Question {
    nlmsghdr header;
    inet_diag_req_v2 body;
};

std::optional<sockaddr_in> addressOf(int connection, int (*ask)(int, sockaddr*, socklen_t*)) {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    if (ask(connection, reinterpret_cast<sockaddr*>(&address), &length) < 0 || address.sin_family != AF_INET) {
        return std::nullopt;
    }
    return address;
}

/// Asks for the one socket that goes from `from` to `to`.
Question questionAbout(const sockaddr_in& from, const sockaddr_in& to) {
    Question question{};
    question.header.nlmsg_len = sizeof question;
    question.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    question.header.nlmsg_flags = NLM_F_REQUEST;
    question.body.sdiag_family = AF_INET;
    question.body.sdiag_protocol = IPPROTO_TCP;
    question.body.idiag_states = ~0U;
    question.body.id.idiag_sport = from.sin_port;
    question.body.id.idiag_dport = to.sin_port;
    question.body.id.idiag_src[0] = from.sin_addr.s_addr;
    question.body.id.idiag_dst[0] = to.sin_addr.s_addr;
    question.body.id.idiag_cookie[0] = INET_DIAG_NOCOOKIE;
    question.body.id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;
    return question;
}

/// The kernel answers before sendto(2) returns, so nothing is waited for.
std::optional<inet_diag_msg> answerTo(const Question& question) {
    const UniqueFd kernel(::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_SOCK_DIAG));
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    if (!kernel || ::sendto(kernel.get(), &question, sizeof question, 0, reinterpret_cast<const sockaddr*>(&address),
                            sizeof address) < 0) {
        return std::nullopt;
    }
    alignas(nlmsghdr) std::byte answer[4096];
    const ssize_t got = ::recv(kernel.get(), answer, sizeof answer, MSG_DONTWAIT);
    constexpr std::size_t whole = NLMSG_LENGTH(sizeof(inet_diag_msg));
    if (got < static_cast<ssize_t>(whole) ||
        reinterpret_cast<const nlmsghdr*>(answer)->nlmsg_type != SOCK_DIAG_BY_FAMILY) {
        return std::nullopt;
    }
    inet_diag_msg found{};
    std::memcpy(&found, answer + NLMSG_HDRLEN, sizeof found);
    return found;
}

} // namespace

std::optional<uid_t> accountOfPeer(int connection) {
    const std::optional<sockaddr_in> here = addressOf(connection, ::getsockname);
    const std::optional<sockaddr_in> there = addressOf(connection, ::getpeername);
    if (!here || !there) {
        return std::nullopt;
    }
    const std::optional<inet_diag_msg> peer = answerTo(questionAbout(*there, *here));
    if (!peer || peer->idiag_inode == 0) {
        return std::nullopt;
    }
    return peer->idiag_uid;
}

} // namespace driftwell
