#pragma once

#include "collab/CollabState.h"
#include "collab/Git.h"
#include "platform/Models.h"
#include "support/Task.h"

#include <QString>
#include <QStringList>

#include <filesystem>
#include <optional>
#include <stop_token>

namespace driftwell {

/// A folder that is linked to a site through git: how it stands, publishing by merge, and the ways in and out.
///
/// No operation throws but Cancelled, when it is stopped; what a stop leaves behind, the next operation goes on from.
/// Before git runs in a folder its own settings are looked at (FolderGuard.h), and a folder that is refused is left as
/// it is. Git's own words are given unchanged. Whoever calls keeps two operations on one folder apart. Called on the
/// main thread.
namespace CollabEngine {

/// How an operation that moves work between folder and platform ended.
struct SyncOutcome {
    enum class Kind {
        Published, ///< the folder's work was merged with the platform's and pushed
        Updated,   ///< the platform's work was merged into the folder, and nothing was pushed
        Conflict,  ///< a merge waits for files to be repaired
        Failed,    ///< it stopped, for the reason in `text`; commits that were made stay
    };

    Kind kind = Kind::Failed;
    QString text = {};

    [[nodiscard]] static SyncOutcome published() { return {Kind::Published, {}}; }
    [[nodiscard]] static SyncOutcome updated() { return {Kind::Updated, {}}; }
    [[nodiscard]] static SyncOutcome conflict() { return {Kind::Conflict, {}}; }
    [[nodiscard]] static SyncOutcome failed(QString text) { return {Kind::Failed, std::move(text)}; }

    bool operator==(const SyncOutcome&) const = default;
};

/// The side of a conflict that is taken whole.
enum class Side {
    Ours,   ///< what the folder had
    Theirs, ///< what the platform has
};

/// How a folder stands to a site, from what is on this machine and the head in `site`; absent when the folder is not
/// linked to this site on this platform. A folder of which nothing can tell needs attention. Uses no network.
[[nodiscard]] Task<std::optional<CollabState>> siteState(SiteInfo site, std::filesystem::path folder,
                                                         PlatformConfig config, std::stop_token stop);

/// The files of a merge that are not clean yet, relative to the folder and sorted. None also when git cannot tell.
[[nodiscard]] Task<QStringList> unresolvedFiles(std::filesystem::path folder, std::stop_token stop);

/// Who made the other side of the merge in progress.
[[nodiscard]] Task<std::optional<QString>> mergeCounterpart(std::filesystem::path folder, std::stop_token stop);

/// Publishes: commits what the folder has, merges what the platform has, and pushes, in at most three rounds where
/// others push meanwhile. Published, Conflict or Failed.
[[nodiscard]] Task<SyncOutcome> deploy(std::filesystem::path folder, Git::Access access, Identity identity,
                                       std::stop_token stop);

/// Commits what the folder has, if that differs from its history. Gives the failure, also while a merge is in progress.
[[nodiscard]] Task<std::optional<QString>> commitWork(std::filesystem::path folder, Identity identity,
                                                      std::stop_token stop);

/// Commits the merge in progress with the files as they are, unless git cannot tell which are unmerged. Gives the
/// failure.
[[nodiscard]] Task<std::optional<QString>> completeMerge(std::filesystem::path folder, Identity identity,
                                                         std::stop_token stop);

/// Ties a folder without version control to a site's history. No file of the folder changes. Gives the failure; what
/// git refuses half-way stays, and is version control to the next link. One that is killed or stopped leaves nothing.
[[nodiscard]] Task<std::optional<QString>> link(QString site, std::filesystem::path folder, Git::Access access,
                                                std::stop_token stop);

/// Commits what the folder has and merges what the platform has. Updated, Conflict or Failed. A merge in progress is
/// treated as by deploy().
[[nodiscard]] Task<SyncOutcome> update(std::filesystem::path folder, Git::Access access, Identity identity,
                                       std::stop_token stop);

/// Ends a merge by taking one side of each conflicted file whole, and publishes. Outcomes as of deploy().
[[nodiscard]] Task<SyncOutcome> resolveTaking(Side side, std::filesystem::path folder, Git::Access access,
                                              Identity identity, std::stop_token stop);

/// Makes a fresh copy of a site in a folder that does not exist, or is empty; nothing of it is there before it is
/// complete. Gives the failure.
[[nodiscard]] Task<std::optional<QString>> clone(QString site, std::filesystem::path destination, Git::Access access,
                                                 std::stop_token stop);

} // namespace CollabEngine

} // namespace driftwell
