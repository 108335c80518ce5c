#pragma once

#include "tooling/CLIStatus.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace driftwell {

/// What a terminal finds under the name of the command-line tool.
struct CommandLookup {
    CLIStatus status;
    /// For LinkedToThisApp, the link that was found.
    std::optional<std::filesystem::path> commandPath = {};
    /// The link that the application makes is there and leads to its own tool.
    bool hasOwnLink = false;

    bool operator==(const CommandLookup&) const = default;
};

/// Decides what the command `name` is. `helper` is the application's own tool, `linkPath` the link that the application
/// would make, whose folder is looked at last where `searchPath` does not have it. The first hit in the order of the
/// search path counts, as in a terminal; each folder is looked at once. Reads the file system and may wait for it as
/// long as that takes; from any thread.
[[nodiscard]] CommandLookup classify(const std::filesystem::path& helper, const std::filesystem::path& linkPath,
                                     const std::string& name, const std::vector<std::string>& searchPath);

/// The folders that the system's path files name: the lines of `pathsFile`, then those of the files in `pathsFolder` in
/// the order of their names. What is not there, cannot be read, is no file of UTF-8 text or has more than a megabyte is
/// left out.
[[nodiscard]] std::vector<std::string> systemSearchPath(const std::filesystem::path& pathsFile,
                                                        const std::filesystem::path& pathsFolder);

/// The entries of a PATH, without the empty ones.
[[nodiscard]] std::vector<std::string> splitSearchPath(std::string_view path);

/// The entries without blanks and tabs around them, and without those that are empty then.
[[nodiscard]] std::vector<std::string> tidied(const std::vector<std::string>& entries);

/// A file, a link to one among them, that this process may run.
[[nodiscard]] bool isExecutableFile(const std::filesystem::path& path);

} // namespace driftwell
