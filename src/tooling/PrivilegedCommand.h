#pragma once

#include "support/Task.h"

#include <QString>

#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace driftwell {

/// A text as one word of a shell, whatever it holds.
[[nodiscard]] std::string shellQuoted(std::string_view text);

/// Runs a program with the administrator's rights, once polkit has asked for their password: pkexec(1), which takes
/// over the arguments as they are. Absent on success, else one line for the person. A stop throws Cancelled and leaves
/// the dialog to itself.
[[nodiscard]] Task<std::optional<QString>> runPrivileged(std::filesystem::path pkexec,
                                                         std::vector<std::string> arguments, std::stop_token stop);

} // namespace driftwell
