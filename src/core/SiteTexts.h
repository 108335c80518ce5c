#pragma once

#include "platform/Models.h"
#include "platform/Timestamp.h"

#include <QString>

#include <optional>

/// What is said of a site wherever it is named, as functions of the site.
namespace driftwell {

/// Since when the version is live that the platform serves; absent when that is not known.
[[nodiscard]] std::optional<Timestamp> deploymentTime(const SiteInfo& site);

/// How long ago that was, for example "5m ago"; absent when it is not known.
[[nodiscard]] std::optional<QString> siteAge(const SiteInfo& site, Timestamp now);

/// The same in a few letters, for example "5m"; a dash when it is not known.
[[nodiscard]] QString shortSiteAge(const SiteInfo& site, Timestamp now);

} // namespace driftwell
