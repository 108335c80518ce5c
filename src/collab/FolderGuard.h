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

/// A setting as `git config --list -z` has it: section and last part of the key in lower case. A key without a value
/// has none.
struct GitSetting {
    std::string key;
    std::optional<std::string> value;
};

/// What can be told of a folder's version control before git runs in it.
///
/// A folder that came from a stranger brings its own settings, and many of them are programs that git runs, or send
/// what git sends to another place. So they are read here without a git that is at home in the folder, and held against
/// a list of what linking and cloning write and what is known to be harmless.
struct FolderGuard {
    /// There is something named ".git" in the folder.
    bool hasVersionControl = false;
    /// The folder's settings were read. Where they were not, nothing tells what the folder is linked to.
    bool areSettingsKnown = false;
    /// The addresses of the remote "driftwell" in the folder's settings.
    std::vector<std::string> remoteUrls = {};
    /// Why git must not run in the folder, in words that go on after "right now". Where there is no version control,
    /// there is nothing to refuse.
    std::optional<QString> refusal = {};

    /// Looks at a folder. Runs nothing that the folder names. Throws Cancelled only.
    [[nodiscard]] static Task<FolderGuard> inspect(std::filesystem::path folder, std::stop_token stop);
};

/// The entries of what `git config --list -z` prints.
[[nodiscard]] std::vector<GitSetting> parseSettings(std::string_view list);

/// Whether a setting in a folder can neither make git run a program nor lead it elsewhere (git-config(1)).
[[nodiscard]] bool isHarmless(const GitSetting& setting);

} // namespace driftwell
