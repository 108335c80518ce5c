#pragma once

#include "collab/Git.h"
#include "support/ProcessEnvironment.h"

namespace driftwell {

/// The variables that git is given in these surroundings, as told at Git::run(). The values of settings come in
/// GIT_CONFIG_COUNT, GIT_CONFIG_KEY_0 and so on, which stand above all files (git-config(1)).
[[nodiscard]] ProcessEnvironment gitEnvironment(ProcessEnvironment inherited, const Git::Surroundings& surroundings);

} // namespace driftwell
