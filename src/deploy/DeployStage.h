#pragma once

#include <cstdint>
#include <optional>

namespace driftwell {

/// How far a running deployment is, as it is shown: three steps.
struct DeployStage {
    enum class Step {
        /// The folder is being scanned and archived.
        Packing,
        /// The archive is going up; `fraction` tells how much of it.
        Uploading,
        /// All bytes are sent and the platform is working.
        Publishing,
    };

    Step step = Step::Packing;
    /// From 0.0 to 1.0, while uploading.
    double fraction = 0;

    [[nodiscard]] static DeployStage packing() { return {Step::Packing, 0}; }
    [[nodiscard]] static DeployStage uploading(double fraction) { return {Step::Uploading, fraction}; }
    [[nodiscard]] static DeployStage publishing() { return {Step::Publishing, 0}; }

    bool operator==(const DeployStage&) const = default;
};

/// The part of an upload that is sent, at most 1.0; absent when there is nothing to send.
[[nodiscard]] std::optional<double> uploadFraction(std::int64_t sent, std::int64_t total);

/// The stage to show for a reported one: an upload that is all but sent counts as publishing, since the transport does
/// not tell when the platform has begun its work.
[[nodiscard]] DeployStage shownStage(DeployStage reported);

} // namespace driftwell
