#pragma once

#include "support/UniqueFd.h"

#include <string_view>

namespace driftwell {

/// Opens what `path` names beneath the folder `root`, without following a link in any component, so that something that
/// was swapped for a link leads nowhere. `path` is relative, without "." and "..", and may be longer than one system
/// call takes; empty, it names `root` itself. `flags` are those of open(2); O_NOFOLLOW and O_CLOEXEC are added.
///
/// Empty when it cannot be opened; errno says why. A link is ELOOP, or ENOTDIR where a folder was to be.
[[nodiscard]] UniqueFd openBeneath(int root, std::string_view path, int flags);

} // namespace driftwell
