#pragma once

#include <optional>
#include <string>
#include <vector>

namespace driftwell::bench {

/// This program as the process that is measured: "pack FOLDER ARCHIVE" and "upload FILE ORIGIN" do just that with
/// Driftwell's own code and end. Gives the exit code, or nothing when the arguments ask for no such work.
[[nodiscard]] std::optional<int> runAsWorker(const std::vector<std::string>& arguments);

} // namespace driftwell::bench
