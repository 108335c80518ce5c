#pragma once

#include "apps/sandbox/GitProcess.h"
#include "apps/sandbox/SiteFiles.h"

#include <filesystem>
#include <map>
#include <string>
#include <string_view>

namespace driftwell::sandbox {

/// Whether a path of a site's history is part of the site that visitors see. What an upload of the same folder never
/// brings is not: what begins with a dot, the folders "node_modules" and, at the top, "skills", and the file
/// "CLAUDE.md" at the top. It stays in the history for those who work there.
[[nodiscard]] bool isPartOfSite(std::string_view path);

/// A commit to be published.
struct PushedCommit {
    std::filesystem::path repository;
    /// Its name, or that of a branch.
    std::string name;
    /// Beside the usual environment of git.
    std::map<std::string, std::string> variables = {};
};

/// Writes the files of a commit that are part of the site into `folder`, which must exist and be empty. `list` is a
/// file for the names of objects, which the caller removes. Throws HttpError for what cannot be published: too many or
/// too large files, names that no upload could have, symbolic links, other repositories, no file at all. Throws
/// GitFailure and std::system_error for what else goes wrong.
[[nodiscard]] Unpacked unpackCommit(const PushedCommit& commit, const std::filesystem::path& folder,
                                    const std::filesystem::path& list, const UnpackLimits& limits, const GitHost& host);

} // namespace driftwell::sandbox
