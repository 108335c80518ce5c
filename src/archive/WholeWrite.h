#pragma once

#include <string_view>

namespace driftwell {

/// Writes all of it (write(2)). Throws std::system_error.
void writeWhole(int file, std::string_view bytes);

} // namespace driftwell
