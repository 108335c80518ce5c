#pragma once

#include <cstddef>

namespace driftwell {

/// Whether this process may open that many more descriptors at once. For the start of a program, since Qt ends the
/// process when it cannot have those of its event loop.
[[nodiscard]] bool canOpenDescriptors(std::size_t count);

} // namespace driftwell
