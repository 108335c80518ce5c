#pragma once

#include "apps/sandbox/SiteFiles.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace driftwell::sandbox {

/// The question that git asks before it takes a push (githooks(5), pre-receive). Git asks it of this same program,
/// started under the name "pre-receive", which looks at what was pushed and unpacks it; what it says on standard error
/// is told to whoever pushes.
inline constexpr const char* pushCheckName = "pre-receive";

/// Puts the program where git looks for it.
void installPushCheck(const std::filesystem::path& hooks);

/// The variables by which the check knows what to do.
[[nodiscard]] std::map<std::string, std::string> pushCheckVariables(const std::filesystem::path& hooks,
                                                                    const std::filesystem::path& version,
                                                                    const std::filesystem::path& summary,
                                                                    const UnpackLimits& limits);

/// What the check has unpacked of this commit; nothing where it has not, or not of this one.
[[nodiscard]] std::optional<Unpacked> readSummary(const std::filesystem::path& file, const std::string& commit);

/// The check itself, as a program: 0 lets the push in.
[[nodiscard]] int runPushCheck();

} // namespace driftwell::sandbox
