#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace driftwell::sandbox {

/// Undoes percent-encoding (RFC 3986, section 2.1). No value when a percent sign is not followed by two hexadecimal
/// digits. The result is bytes: nothing says that it is UTF-8.
[[nodiscard]] std::optional<std::string> percentDecoded(std::string_view text);

/// Encodes all but the unreserved characters of RFC 3986.
[[nodiscard]] std::string percentEncoded(std::string_view text);

/// The fields of a query or of an HTML form. The first of several fields with one name counts; a field that does not
/// decode is left out.
[[nodiscard]] std::map<std::string, std::string> formFields(std::string_view text);

[[nodiscard]] std::string htmlEscaped(std::string_view text);

[[nodiscard]] std::string lowerCased(std::string_view text);
[[nodiscard]] std::string_view trimmed(std::string_view text);
[[nodiscard]] std::vector<std::string_view> split(std::string_view text, char separator);

/// A whole decimal number without sign or blanks.
[[nodiscard]] std::optional<std::uint64_t> decimal(std::string_view text);

/// 1 to 63 lower-case letters, digits and dashes, the first no dash, and no name that the platform keeps for itself.
[[nodiscard]] bool isSiteName(std::string_view name);

/// ISO 8601 in UTC with exactly three digits of milliseconds, so that times sort as text.
[[nodiscard]] std::string timestamp(std::chrono::system_clock::time_point time);

/// "1 file", "2 files".
[[nodiscard]] std::string counted(std::uint64_t count, std::string_view one, std::string_view many);
[[nodiscard]] std::string byteCount(std::uint64_t bytes);

} // namespace driftwell::sandbox
