#pragma once

#include "collab/Git.h"
#include "support/Task.h"

#include <QString>

#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <vector>

namespace driftwell {

/// A folder whose own settings were found harmless a moment ago (FolderGuard.h): the only way in which the engine runs
/// git in a folder that has version control.
class LinkedFolder {
public:
    /// Only for a folder that a FolderGuard lets through.
    LinkedFolder(std::filesystem::path path, std::stop_token stop);

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }
    [[nodiscard]] const std::stop_token& stop() const { return m_stop; }

    [[nodiscard]] Task<Git::RunResult> git(std::vector<std::string> arguments,
                                           std::optional<Git::Access> access = std::nullopt,
                                           std::optional<Identity> identity = std::nullopt) const;

    /// The same with another index than the folder's, a file that may not exist yet.
    [[nodiscard]] Task<Git::RunResult> gitWithIndex(std::filesystem::path index, std::vector<std::string> arguments,
                                                    std::optional<Identity> identity) const;

    /// A merge was begun and is not committed.
    [[nodiscard]] bool isMerging() const;

    /// Git has prepared a message for the merge.
    [[nodiscard]] bool hasMergeMessage() const;

    /// The files of a merge that are not clean yet (UnmergedFiles.h).
    struct Unresolved {
        std::vector<std::string> files = {};
        /// Git's words when it cannot tell; there are no files then.
        std::optional<QString> failure = {};
    };
    [[nodiscard]] Task<Unresolved> unresolved() const;

    /// What becomes of files that git has listed as unmerged when all files are added.
    enum class Unmerged {
        IsCommitted,
        IsObstacle, ///< what an operation that is no merge has left with markers in it is nobody's work
    };
    /// Why git must not add all files, for people: there is a repository within the folder, which git would enter under
    /// that one's own settings or commit as one entry without its files, or git cannot tell.
    [[nodiscard]] Task<std::optional<QString>> obstacleToAdding(Unmerged unmerged) const;

private:
    std::filesystem::path m_path;
    std::stop_token m_stop;
};

} // namespace driftwell
