#pragma once

#include "core/AppState.h"
#include "core/Connection.h"
#include "core/Gates.h"

#include <QString>

#include <optional>

/// What several screens say of the connection, as functions of the model.
namespace driftwell {

/// The platform's host, or "driftwell" when none is configured.
[[nodiscard]] QString hostName(const AppState& state);

/// Whether the platform can be given a folder at present: one is configured, and it neither refuses us nor is out of
/// reach.
[[nodiscard]] bool acceptsDeploys(const AppState& state);

/// Whether a folder may be dropped on the window.
[[nodiscard]] bool canDeploy(const AppState& state);

/// Why folders are not taken at present; absent when they are.
[[nodiscard]] std::optional<QString> pausedText(const AppState& state);

} // namespace driftwell
