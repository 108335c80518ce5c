#pragma once

#include "apps/dw/Context.h"

#include <optional>
#include <string>

namespace driftwell::dw {

/// The site that a command which only reads is about: the one that was named, or the one that the present folder was
/// last published as. Throws WrongUsage when that is none or more than one, and FailedCommand when it is none and
/// the folder of a site or the session file cannot be read.
[[nodiscard]] QString chosenSite(const std::optional<std::string>& named, const ConfigStore& store);

/// The site's record. Throws FailedCommand with the kind "noSite" when the platform has no site of exactly this name,
/// and as PlatformClient::sites().
[[nodiscard]] Task<SiteInfo> requireSite(std::shared_ptr<Context> context, PlatformConfig config, QString name);

/// A site and where it is.
struct SiteOnPlatform {
    PlatformConfig config;
    SiteInfo info;
};

/// The same on the platform in use. Throws as requireSignIn() and requireSite().
[[nodiscard]] Task<SiteOnPlatform> requireNamedSite(std::shared_ptr<Context> context, std::string name);

} // namespace driftwell::dw
