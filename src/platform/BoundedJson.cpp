#include "platform/BoundedJson.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace driftwell {

namespace {

/// Brackets inside strings do not count.
int nestingDepth(std::string_view text) {
    int depth = 0;
    int deepest = 0;
    bool inString = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char character = text[i];
        if (inString) {
            if (character == '\\') {
                ++i;
            } else if (character == '"') {
                inString = false;
            }
        } else if (character == '"') {
            inString = true;
        } else if (character == '[' || character == '{') {
            deepest = std::max(deepest, ++depth);
        } else if (character == ']' || character == '}') {
            --depth;
        }
    }
    return deepest;
}

} // namespace

std::optional<nlohmann::json> parseBoundedJson(std::string_view text) {
    // The parser takes a zero byte for the end of the text, and would not look at what follows.
    if (text.find('\0') != std::string_view::npos || nestingDepth(text) > maximumJsonDepth) {
        return std::nullopt;
    }
    nlohmann::json json = nlohmann::json::parse(text, nullptr, false);
    if (json.is_discarded()) {
        return std::nullopt;
    }
    return json;
}

} // namespace driftwell
