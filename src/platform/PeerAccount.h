#pragma once

#include <sys/types.h>

#include <optional>

namespace driftwell {

/// The account whose socket is at the other end of an accepted IPv4 connection from this machine, as the kernel tells
/// it (sock_diag(7)): the one that made that socket. A socket of IPv6 that was connected to an IPv4 address is found
/// like any other.
///
/// Absent when the kernel does not tell, when the other end lies outside this network namespace, and when no process
/// holds it any more: the kernel then gives it to the superuser, whoever it was.
[[nodiscard]] std::optional<uid_t> accountOfPeer(int connection);

} // namespace driftwell
