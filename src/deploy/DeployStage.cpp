#include "deploy/DeployStage.h"

#include <algorithm>

namespace driftwell {

namespace {
constexpr double allButSent = 0.999;
}

std::optional<double> uploadFraction(std::int64_t sent, std::int64_t total) {
    if (total < 1) {
        return std::nullopt;
    }
    return std::min(1.0, static_cast<double>(sent) / static_cast<double>(total));
}

DeployStage shownStage(DeployStage reported) {
    const bool sent = reported.step == DeployStage::Step::Uploading && reported.fraction >= allButSent;
    return sent ? DeployStage::publishing() : reported;
}

} // namespace driftwell
