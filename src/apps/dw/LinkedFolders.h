#pragma once

#include "apps/dw/CommandFailure.h"
#include "apps/dw/Context.h"
#include "apps/dw/JsonTable.h"
#include "collab/CollabEngine.h"
#include "collab/FolderGuard.h"
#include "collab/Git.h"

#include <filesystem>
#include <optional>
#include <string>

namespace driftwell::dw {

/// A folder and the site that it is linked to.
struct LinkedSite {
    std::filesystem::path folder;
    PlatformConfig config;
    SiteInfo info;
    Git::Access access;
};

/// As --json has it.
[[nodiscard]] const JsonTable<LinkedSite>& linkedSiteTable();

/// Throws FailedCommand with the kind "noGit" when this machine has no git that works.
void requireGit();

/// Throws FailedCommand with the kind "collabOff" unless people edit the site together.
void requireCollab(const SiteInfo& site, const PlatformConfig& config);

/// The folder that was typed for a command and the site that its remote names, without anything of the folder's being
/// run. Throws FailedCommand with the kind "notLinked" for a folder that is linked to no site of the platform in use,
/// and as requireGit(), existingFolder(), requireSignIn() and requireSite().
[[nodiscard]] Task<LinkedSite> requireLinkedFolder(std::shared_ptr<Context> context, std::string typed,
                                                   std::string command);

/// The site whose repository one of the folder's remotes is; absent when none is of this platform.
[[nodiscard]] std::optional<QString> siteOf(const FolderGuard& guard, const PlatformConfig& config);

/// The failure of a platform that does not say who commits.
[[nodiscard]] CommandFailure unknownAuthor(const PlatformConfig& config);

/// Who commits. Throws FailedCommand when the platform does not say, and as requireIdentity().
[[nodiscard]] Task<Identity> requireAuthor(std::shared_ptr<Context> context, PlatformConfig config);

/// The failure "conflict" of a folder in which a merge has stopped at these files. `event` is the beginning of its
/// sentence: "garden was not published".
[[nodiscard]] CommandFailure conflictFailure(const QString& event, const QStringList& files);

/// The failure "git", in git's own words; without a hint, that of its kind.
[[nodiscard]] CommandFailure gitFailure(const QString& words, const QString& hint = {});

/// Throws FailedCommand for an outcome that is none of success.
[[nodiscard]] Task<> requireSuccess(CollabEngine::SyncOutcome outcome, LinkedSite linked, std::stop_token stop);

} // namespace driftwell::dw
