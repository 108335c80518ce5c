#pragma once

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string_view>

namespace driftwell {

/// Arrays and objects nested deeper than this are refused before anything is parsed, since code that walks a JSON value
/// does so recursively.
inline constexpr int maximumJsonDepth = 512;

/// Parses one JSON text (RFC 8259) in UTF-8. Absent when it is not one, or is nested deeper than maximumJsonDepth.
[[nodiscard]] std::optional<nlohmann::json> parseBoundedJson(std::string_view text);

} // namespace driftwell
