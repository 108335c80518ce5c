#pragma once

#include "support/Task.h"

#include <memory>

namespace driftwell {

class DeployFlow;

/// Resumes once nothing works on the deployment any more: whatever does holds its flow, so nothing does when the flow
/// is gone. For an end of the process that leaves no temporary file behind, after the deployment was cancelled.
///
/// Ends every child process of this process meanwhile: packing is not interrupted by a cancel, and nobody would wait
/// for it. The caller keeps no other reference to the flow.
[[nodiscard]] Task<> awaitRelease(std::shared_ptr<DeployFlow> flow);

} // namespace driftwell
