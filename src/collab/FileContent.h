#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace driftwell {

/// The content of a regular file beneath a folder, no link on the way followed. Absent when it cannot be read, also for
/// what is larger than any text that somebody edits (256 MB). Blocking; any thread.
[[nodiscard]] std::optional<std::string> contentBeneath(const std::filesystem::path& folder, const std::string& path);

/// Removes a file or link beneath a folder, no link on the way followed. Whether it is gone.
bool removeBeneath(const std::filesystem::path& folder, const std::string& path);

} // namespace driftwell
