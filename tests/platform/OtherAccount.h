#pragma once

#include "support/UniqueFd.h"

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace driftwell::tests {

/// A process of another account of this machine that connects to a port of 127.0.0.1, sends a request and reads what
/// comes back. Only the superuser can start one.
class OtherAccount {
public:
    [[nodiscard]] static bool isPossibleHere();

    enum class Socket { Ipv4, MappedIpv6 };
    OtherAccount(std::uint16_t port, const std::string& request, Socket socket = Socket::Ipv4);
    /// Ends it.
    ~OtherAccount();
    OtherAccount(const OtherAccount&) = delete;
    OtherAccount& operator=(const OtherAccount&) = delete;

    /// All that it was answered. Runs the event loop until then.
    [[nodiscard]] std::string answer();

private:
    pid_t m_process = -1;
    UniqueFd m_answer;
};

} // namespace driftwell::tests
