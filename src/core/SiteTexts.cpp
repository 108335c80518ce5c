#include "core/SiteTexts.h"

#include "core/Format.h"

namespace driftwell {

std::optional<Timestamp> deploymentTime(const SiteInfo& site) {
    return site.deployedAt ? timestampFromIso(*site.deployedAt) : std::nullopt;
}

std::optional<QString> siteAge(const SiteInfo& site, Timestamp now) {
    const std::optional<Timestamp> time = deploymentTime(site);
    return time ? std::optional(Format::relative(*time, now)) : std::nullopt;
}

QString shortSiteAge(const SiteInfo& site, Timestamp now) {
    const std::optional<Timestamp> time = deploymentTime(site);
    return time ? Format::relativeShort(*time, now) : QStringLiteral("—");
}

} // namespace driftwell
