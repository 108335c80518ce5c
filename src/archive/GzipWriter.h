#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

namespace driftwell {

/// Compresses everything that `input` yields into one gzip member (RFC 1952), on as many threads as the machine has
/// cores and in an order of its own: pieces of the input are compressed side by side and written one after another.
///
/// Both are descriptors and stay the caller's. `onBytes` sees the plain bytes, in their order, on the calling thread,
/// each piece before any of it is written. Gives the number of bytes written. Memory is bounded whatever the input.
///
/// Throws std::system_error when reading or writing fails, and what `onBytes` throws.
std::uint64_t writeGzip(int input, int output, const std::function<void(std::string_view)>& onBytes);

} // namespace driftwell
