#pragma once

#include "collab/Git.h"
#include "support/Task.h"

#include <filesystem>
#include <stop_token>

namespace driftwell {

/// The instructions that coding agents find in a folder. The application writes none of them itself.
namespace AgentScaffold {

/// Has the application's own tool, dw in the folder `helpers` (Bundle::helpers()), run "init" in the folder, with the
/// platform in DW_HOST and the token, where there is one, in DW_TOKEN. Whether it succeeded; why it did not is not
/// told. A stop throws Cancelled. What the tool says is dropped. Called on the main thread.
[[nodiscard]] Task<bool> write(std::filesystem::path folder, Git::Access access, std::filesystem::path helpers,
                               std::stop_token stop);

} // namespace AgentScaffold

} // namespace driftwell
