#pragma once

#include "apps/dw/Commands.h"

namespace driftwell::dw {

/// The site that a command which only reads is about: the one that was named, or the one that the present folder was
/// last published as. Throws WrongUsage when that is none or more than one.
[[nodiscard]] QString chosenSite(const Arguments& arguments, const ConfigStore& store);

/// The site's record. Throws FailedCommand with the kind "noSite" when the platform has no site of exactly this name,
/// and as PlatformClient::sites().
[[nodiscard]] Task<SiteInfo> requireSite(std::shared_ptr<Context> context, PlatformConfig config, QString name);

} // namespace driftwell::dw
