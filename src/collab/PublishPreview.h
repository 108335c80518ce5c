#pragma once

#include "collab/Git.h"
#include "platform/Models.h"
#include "support/Task.h"

#include <QString>
#include <QStringList>

#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace driftwell {

/// What publishing a linked folder would meet, found out without publishing: what the platform has is fetched, and the
/// merge is tried in git's store alone (git-merge-tree(1)). No file of the folder changes, nor its index, nor "main",
/// but what a killed merge has left is taken back first (LeftMerge.h).
/// Paths are relative to the folder and sorted.
struct PublishPreview {
    /// The files that the folder would bring: changed, new or removed since it last had what the platform has.
    QStringList ownChanges = {};
    /// The same on the platform.
    QStringList platformChanges = {};
    /// The files that both have changed in ways that git cannot join.
    QStringList conflicts = {};
    /// Why it could not be found out, in git's own words. The lists are empty then.
    std::optional<QString> failure = {};

    /// For a folder that is on "main" and in no merge. Like the operations of CollabEngine.h it looks at the folder's
    /// settings first, throws Cancelled only, and wants others kept away from the folder. Called on the main thread.
    [[nodiscard]] static Task<PublishPreview> of(std::filesystem::path folder, Git::Access access, Identity identity,
                                                 std::stop_token stop);
};

/// The files that `git merge-tree --write-tree --name-only --no-messages -z` prints after the name of the tree.
[[nodiscard]] std::vector<std::string> parseMergeTree(std::string_view output);

} // namespace driftwell
