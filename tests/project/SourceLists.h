#pragma once

#include "tests/project/Repository.h"

#include <string>
#include <vector>

namespace project {

/// The sources that no CMakeLists.txt names, and the CMakeLists.txt files that collect sources with GLOB. The list that
/// has to name a source is the nearest one, in its folder or above; the name is relative to that list.
[[nodiscard]] std::vector<std::string> sourceListViolations(const std::vector<RepositoryFile>& files);

} // namespace project
