#pragma once

#include <QString>

#include <utility>

namespace driftwell {

/// How far the local platform is.
///
/// | phase | meaning | what comes next |
/// |---|---|---|
/// | Idle | it was never started | a start |
/// | Building | the package that must exist first is built | Starting or Failed |
/// | Starting | the server is launched and has not answered yet | Running or Failed |
/// | Running | it has answered | Failed when it ends |
/// | Failed | `text` says why in one line | a new start |
struct LocalServerPhase {
    enum class Kind { Idle, Building, Starting, Running, Failed };

    Kind kind = Kind::Idle;
    /// For Failed.
    QString text;

    [[nodiscard]] static LocalServerPhase idle() { return {Kind::Idle, {}}; }
    [[nodiscard]] static LocalServerPhase building() { return {Kind::Building, {}}; }
    [[nodiscard]] static LocalServerPhase starting() { return {Kind::Starting, {}}; }
    [[nodiscard]] static LocalServerPhase running() { return {Kind::Running, {}}; }
    [[nodiscard]] static LocalServerPhase failed(QString text) { return {Kind::Failed, std::move(text)}; }

    /// On its way up: an outage meanwhile is none.
    [[nodiscard]] bool isComingUp() const { return kind == Kind::Building || kind == Kind::Starting; }

    bool operator==(const LocalServerPhase&) const = default;
};

} // namespace driftwell
