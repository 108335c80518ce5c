#pragma once

#include <QString>

#include <nlohmann/json.hpp>

#include <optional>

namespace driftwell::dw {

/// Keys stay in the order in which they were given.
using Json = nlohmann::ordered_json;

[[nodiscard]] inline Json orNull(const std::optional<QString>& text) {
    return text ? Json(text->toStdString()) : Json(nullptr);
}

} // namespace driftwell::dw
