#pragma once

#include "support/Task.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <stop_token>

namespace driftwell {

class DeployFlow;

/// The road of a deployment to a site that is linked to a folder of this machine: it is merged and pushed, never
/// uploaded.
struct LinkedRoad {
    enum class End {
        NotLinked, ///< nothing was done; the flow is to be uploaded
        Published, ///< the flow has succeeded
        Settled,   ///< the flow has failed or was closed, and what there is to say was said
    };

    struct Result {
        End end = End::NotLinked;
        /// Of a Published: the linked folder that was published.
        std::filesystem::path folder = {};
    };

    /// Whether the flow's site, by the name that stands in it, may be linked. Where it is not, the road is not asked.
    std::function<bool(const DeployFlow&)> mayLead;

    /// Publishes the flow, which is in the phase Confirm, and moves it on. `close` takes it off the screen. Throws
    /// Cancelled only.
    std::function<Task<Result>(std::shared_ptr<DeployFlow> flow, std::function<void()> close, std::stop_token stop)>
        publish;
};

} // namespace driftwell
