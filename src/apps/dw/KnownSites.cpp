#include "apps/dw/KnownSites.h"

#include <algorithm>

namespace driftwell::dw {

namespace {

QString quoted(const QStringList& names) {
    QStringList all;
    for (const QString& name : names) {
        all += QStringLiteral("“%1”").arg(name);
    }
    return all.join(QStringLiteral(", "));
}

} // namespace

PublishedAs publishedAs(const std::filesystem::path& folder, const ConfigStore& store) {
    PublishedAs result;
    for (const auto& [name, published] : store.folderMap()) {
        std::error_code unreadable;
        if (std::filesystem::equivalent(published, folder, unreadable) && !unreadable) {
            result.sites += name;
        } else if (unreadable) {
            result.unreadable = cannotRead(published, unreadable);
        }
    }
    return result;
}

QString oneMustBeNamed(const QString& folder, const QStringList& sites) {
    return QStringLiteral("%1 was published as %2, so one must be named").arg(folder, quoted(sites));
}

QString chosenSite(const std::optional<std::string>& named, const ConfigStore& store) {
    if (named) {
        return QString::fromStdString(*named);
    }
    const auto [names, unreadable] = publishedAs(".", store);
    if (names.isEmpty() && unreadable) {
        throw FailedCommand(unreadable->failure());
    }
    if (names.isEmpty()) {
        requireReadable(store);
        throw WrongUsage(QStringLiteral("The present folder was not published from here, so a site must be named"),
                         QStringLiteral("dw list shows the sites."));
    }
    if (names.size() > 1) {
        throw WrongUsage(oneMustBeNamed(QStringLiteral("The present folder"), names),
                         QStringLiteral("Name one of them behind the command."));
    }
    return names.front();
}

Task<std::optional<SiteInfo>> listedSite(std::shared_ptr<Context> context, PlatformConfig config, QString name) {
    const Fetched<SitesResponse> answer = co_await context->client->sites(config, {}, context->stop);
    const QList<SiteInfo>& sites = answer.record->sites;
    const auto found =
        std::find_if(sites.begin(), sites.end(), [&name](const SiteInfo& site) { return site.name == name; });
    std::optional<SiteInfo> site;
    if (found != sites.end()) {
        site = *found;
    }
    co_return site;
}

Task<SiteInfo> requireSite(std::shared_ptr<Context> context, PlatformConfig config, QString name) {
    const std::optional<SiteInfo> site = co_await listedSite(context, config, name);
    if (!site) {
        throw FailedCommand(CommandFailure{ErrorKind::NoSite,
                                           QStringLiteral("There is no site “%1” on %2").arg(name, config.shownHost()),
                                           QStringLiteral("dw list shows the sites.")}
                                .at(config));
    }
    co_return *site;
}

std::vector<std::string> accessModeWords() {
    std::vector<std::string> words;
    for (const SiteAccessMode mode : siteAccessModes) {
        words.push_back(rawValue(mode).toStdString());
    }
    return words;
}

Task<SiteOnPlatform> requireNamedSite(std::shared_ptr<Context> context, std::string name) {
    const PlatformConfig config = requireSignIn(*context->client);
    const SiteInfo info = co_await requireSite(context, config, QString::fromStdString(name));
    co_return SiteOnPlatform{config, info};
}

} // namespace driftwell::dw
