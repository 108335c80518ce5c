#pragma once

#include "apps/dw/Context.h"

#include <QStringList>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace driftwell::dw {

/// What this machine knows of a folder.
struct PublishedAs {
    /// The sites that it was last published as, whatever links lead to it.
    QStringList sites;
    /// The failure to read the folder of another site, of which it cannot be said whether it is the same.
    std::optional<FailedCommand> unreadable;
};
[[nodiscard]] PublishedAs publishedAs(const std::filesystem::path& folder, const ConfigStore& store);

/// "The present folder was published as “a”, “b”, so one must be named"
[[nodiscard]] QString oneMustBeNamed(const QString& folder, const QStringList& sites);

/// The site that a command which only reads is about: the one that was named, or the one that the present folder was
/// last published as. Throws WrongUsage when that is none or more than one, and FailedCommand when it is none and
/// the folder of a site or the session file cannot be read.
[[nodiscard]] QString chosenSite(const std::optional<std::string>& named, const ConfigStore& store);

/// The site's record; absent when the platform has no site of exactly this name. Throws as PlatformClient::sites().
[[nodiscard]] Task<std::optional<SiteInfo>> listedSite(std::shared_ptr<Context> context, PlatformConfig config,
                                                       QString name);

/// The same. Throws FailedCommand with the kind "noSite" when the platform has no site of exactly this name,
/// and as PlatformClient::sites().
[[nodiscard]] Task<SiteInfo> requireSite(std::shared_ptr<Context> context, PlatformConfig config, QString name);

/// The words for who may open a site, as the platform has them.
[[nodiscard]] std::vector<std::string> accessModeWords();

/// A site and where it is.
struct SiteOnPlatform {
    PlatformConfig config;
    SiteInfo info;
};

/// The same on the platform in use. Throws as requireSignIn() and requireSite().
[[nodiscard]] Task<SiteOnPlatform> requireNamedSite(std::shared_ptr<Context> context, std::string name);

} // namespace driftwell::dw
