#pragma once

#include <QString>

#include <nlohmann/json.hpp>

#include <optional>

namespace driftwell::dw {

/// Keys stay in the order in which they were given.
using Json = nlohmann::ordered_json;

/// Of the objects that commands print. It grows when a key is renamed or taken away, or means something else; keys may
/// be added without.
constexpr int jsonSchemaVersion = 1;

[[nodiscard]] inline Json orNull(const std::optional<QString>& text) {
    return text ? Json(text->toStdString()) : Json(nullptr);
}

} // namespace driftwell::dw
