#pragma once

#include <functional>
#include <string_view>

namespace driftwell {

/// Reads a file of one gzip member (RFC 1952) to its end, its sums checked, and hands over what it held, piece by piece.
///
/// `file` is a descriptor open for reading, at the file's beginning, and stays the caller's. Throws ArchiveError when
/// the file is damaged or cut short or when anything follows, std::system_error, and what `onBytes` throws.
void readGzip(int file, const std::function<void(std::string_view)>& onBytes);

} // namespace driftwell
