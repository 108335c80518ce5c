#include "apps/dw/KnownSites.h"

#include <QStringList>

#include <algorithm>
#include <filesystem>

namespace driftwell::dw {

namespace {

/// The same folder, whatever links lead to it. A folder that is not there is another one; `unreadable` is set for one
/// of which that cannot be known.
bool isPresentFolder(const std::filesystem::path& folder, std::error_code& unreadable) {
    return std::filesystem::equivalent(folder, ".", unreadable) && !unreadable;
}

QString quoted(const QStringList& names) {
    QStringList all;
    for (const QString& name : names) {
        all += QStringLiteral("“%1”").arg(name);
    }
    return all.join(QStringLiteral(", "));
}

} // namespace

QString chosenSite(const std::optional<std::string>& named, const ConfigStore& store) {
    if (named) {
        return QString::fromStdString(*named);
    }
    QStringList names;
    std::optional<FailedCommand> unknown;
    for (const auto& [name, folder] : store.folderMap()) {
        std::error_code unreadable;
        if (isPresentFolder(folder, unreadable)) {
            names += name;
        } else if (unreadable) {
            unknown = cannotRead(folder, unreadable);
        }
    }
    if (names.isEmpty() && unknown) {
        throw *unknown;
    }
    if (names.isEmpty()) {
        requireReadable(store);
        throw WrongUsage(QStringLiteral("The present folder was not published from here, so a site must be named"),
                         QStringLiteral("dw list shows the sites."));
    }
    if (names.size() > 1) {
        throw WrongUsage(
            QStringLiteral("The present folder was published as %1, so one must be named").arg(quoted(names)));
    }
    return names.front();
}

Task<SiteInfo> requireSite(std::shared_ptr<Context> context, PlatformConfig config, QString name) {
    const Fetched<SitesResponse> answer = co_await context->client->sites(config, {}, context->stop);
    const QList<SiteInfo>& sites = answer.record->sites;
    const auto found =
        std::find_if(sites.begin(), sites.end(), [&name](const SiteInfo& site) { return site.name == name; });
    if (found == sites.end()) {
        throw FailedCommand({"noSite", QStringLiteral("There is no site “%1” on %2").arg(name, config.host()),
                             QStringLiteral("dw list shows the sites."), ExitCode::Failed});
    }
    co_return *found;
}

Task<SiteOnPlatform> requireNamedSite(std::shared_ptr<Context> context, std::string name) {
    const PlatformConfig config = requireSignIn(*context->client);
    const SiteInfo info = co_await requireSite(context, config, QString::fromStdString(name));
    co_return SiteOnPlatform{config, info};
}

} // namespace driftwell::dw
