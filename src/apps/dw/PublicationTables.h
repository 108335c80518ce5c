#pragma once

#include "apps/dw/JsonTable.h"
#include "apps/dw/SiteCheck.h"
#include "deploy/DeployFlow.h"
#include "deploy/FolderScan.h"

#include <cstdint>
#include <optional>

/// What `dw deploy` tells with --json.
namespace driftwell::dw {

/// The version that a deployment takes the place of, as far as the platform tells.
struct Replaced {
    std::optional<QString> at;
    std::optional<QString> by;
};

/// What there was of a site before it was published.
struct Predecessor {
    /// Whether nothing; absent where the platform did not tell.
    std::optional<bool> isNew = {};
    /// Absent for a new site, after a merge, and where the platform did not tell.
    std::optional<Replaced> replaced = {};
};

/// The files that were published, or would be.
struct Content {
    std::int64_t bytes = 0;
    std::int64_t fileCount = 0;
    FolderScan::Unreadable unreadable;
    /// Absent where the folder could not be looked at.
    std::optional<DeployFlow::Findings> findings;
    /// What else may not be meant so.
    QStringList warnings = {};
};

/// A deployment that was only tried.
struct Rehearsal {
    QString site;
    Predecessor predecessor;
    Content content;
    FolderScan files;
};
[[nodiscard]] const JsonTable<Rehearsal>& rehearsalTable();

struct Publication {
    QString site;
    QString url;
    Predecessor predecessor;
    Content content;
    bool isMerged = false;
    /// Absent where the platform did not answer.
    std::optional<std::int64_t> skipped = {};
    std::optional<std::int64_t> sent = {};
    std::optional<double> seconds = {};
    /// Absent where the address was not asked.
    std::optional<SiteCheck> check = {};
};
[[nodiscard]] const JsonTable<Publication>& publicationTable();

} // namespace driftwell::dw
