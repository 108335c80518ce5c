#pragma once

#include "collab/Git.h"

namespace driftwell::dw {

class Reporter;

/// Has the reporter tell of each run of git from now on. It outlives the last of them.
void watchGit(Reporter& reporter);

/// One run in a line, as --verbose has it: "> git fetch driftwell in /home/maya/launch: exit 0, 45 ms".
[[nodiscard]] QString runText(const Git::RunRecord& run);

} // namespace driftwell::dw
