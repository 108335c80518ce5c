#include "apps/dw/LinkedFolders.h"

#include "apps/dw/CommandFailure.h"
#include "apps/dw/KnownSites.h"
#include "apps/dw/TypedFolder.h"
#include "collab/FolderGuard.h"
#include "platform/Token.h"

#include <QStringList>

#include <optional>

namespace driftwell::dw {

namespace {

QString proseList(const QStringList& names) {
    constexpr qsizetype most = 20;
    const QString shown = names.mid(0, most).join(QStringLiteral(", "));
    return names.size() > most ? QStringLiteral("%1 and %2 more").arg(shown).arg(names.size() - most) : shown;
}

/// For a folder without a link; one that was published says where it went.
QString wayToALink(const std::filesystem::path& folder, const ConfigStore& store) {
    const QStringList sites = publishedAs(folder, store).sites;
    if (sites.size() != 1) {
        return QStringLiteral("Link it: dw link FOLDER --name SITE");
    }
    return QStringLiteral("It was published as %1: dw info %1. To edit that together: dw link FOLDER --name %1")
        .arg(sites.front());
}

FailedCommand notLinked(const std::filesystem::path& folder, const FolderGuard& guard, const PlatformConfig& config,
                        const ConfigStore& store) {
    const QString path = QString::fromStdString(folder.string());
    if (guard.refusal && !guard.areSettingsKnown) {
        return FailedCommand(
            {ErrorKind::NotLinked,
             QStringLiteral("It cannot be told which site %1 is linked to: right now %2").arg(path, *guard.refusal),
             QStringLiteral("git remote -v in the folder shows what it is linked to.")});
    }
    if (guard.remoteUrls.empty()) {
        return FailedCommand(
            {ErrorKind::NotLinked, QStringLiteral("%1 is not linked to a site").arg(path), wayToALink(folder, store)});
    }
    return FailedCommand(
        {ErrorKind::NotLinked,
         QStringLiteral("%1 is linked to %2, which is no site of %3")
             .arg(path, withoutSecrets(QByteArray::fromStdString(guard.remoteUrls.front()), {}), config.shownHost()),
         QStringLiteral("Choose its platform: dw host HOST")});
}

} // namespace

std::optional<QString> siteOf(const FolderGuard& guard, const PlatformConfig& config) {
    const QString sites = Git::remoteUrl(config, QString());
    for (const std::string& bytes : guard.remoteUrls) {
        const QString url = QString::fromStdString(bytes);
        if (url.startsWith(sites) && url.size() > sites.size()) {
            return url.mid(sites.size());
        }
    }
    return std::nullopt;
}

const JsonTable<LinkedSite>& linkedSiteTable() {
    static const auto table = JsonTable<LinkedSite>()
                                  .add("site", "the site", [](const LinkedSite& linked) { return linked.info.name; })
                                  .add("url", "its address", [](const LinkedSite& linked) { return linked.info.url; })
                                  .add("folder", "the folder that is linked to it", &LinkedSite::folder);
    return table;
}

void requireGit() {
    if (!Git::toolsInstalled()) {
        throw FailedCommand({ErrorKind::NoGit,
                             QStringLiteral("Editing sites together needs git, and %1 does not work")
                                 .arg(QLatin1String(Git::executable)),
                             QStringLiteral("Install the package git.")});
    }
}

void requireCollab(const SiteInfo& site, const PlatformConfig& config) {
    if (!site.collab || !site.collab->enabled) {
        throw FailedCommand(CommandFailure{ErrorKind::CollabOff,
                                           QStringLiteral("Collaboration is off for %1").arg(site.name),
                                           QStringLiteral("Switch it on: dw collab on %1").arg(site.name)}
                                .at(config));
    }
}

Task<LinkedSite> requireLinkedFolder(std::shared_ptr<Context> context, std::string typed, std::string command) {
    const std::filesystem::path folder = existingFolder(typed, command);
    requireGit();
    const PlatformConfig config = requireSignIn(*context->client);
    const FolderGuard guard = co_await FolderGuard::inspect(folder, context->stop);
    const std::optional<QString> site = siteOf(guard, config);
    if (!site) {
        throw notLinked(folder, guard, config, context->client->store());
    }
    const SiteInfo info = co_await requireSite(context, config, *site);
    co_return LinkedSite{folder, config, info, Git::Access::of(config, context->client->store())};
}

CommandFailure unknownAuthor(const PlatformConfig& config) {
    return CommandFailure{
        ErrorKind::Api, QStringLiteral("%1 does not say who you are").arg(config.shownHost()),
        config.isLocal() && !environmentHasToken()
            ? QStringLiteral("A platform without accounts takes nothing through git. Publish another folder there.")
            : signInHint()}
        .at(config);
}

Task<Identity> requireAuthor(std::shared_ptr<Context> context, PlatformConfig config) {
    const std::optional<Identity> identity = co_await requireIdentity(*context->client, config, context->stop);
    if (!identity) {
        throw FailedCommand(unknownAuthor(config));
    }
    co_return *identity;
}

CommandFailure conflictFailure(const QString& event, const QStringList& files) {
    CommandFailure failure{ErrorKind::Conflict,
                           QStringLiteral("%1, since others have changed the same places: %2")
                               .arg(event, files.isEmpty() ? QStringLiteral("some files") : proseList(files)),
                           QStringLiteral("Repair the files and publish them: dw deploy. Or have an agent repair them: "
                                          "dw resolve --prompt. Or take one side: dw resolve --mine, --theirs.")};
    for (const QString& file : files) {
        failure.files.push_back(file.toStdString());
    }
    return failure;
}

CommandFailure gitFailure(const QString& words, const QString& hint) {
    const QString shown = words.trimmed();
    return {ErrorKind::Git, shown.isEmpty() ? QStringLiteral("git failed and said nothing") : shown, hint};
}

Task<> requireSuccess(CollabEngine::SyncOutcome outcome, LinkedSite linked, std::stop_token stop) {
    using Kind = CollabEngine::SyncOutcome::Kind;
    if (outcome.kind == Kind::Failed) {
        throw FailedCommand(gitFailure(outcome.text));
    }
    if (outcome.kind == Kind::Conflict) {
        const QStringList files = co_await CollabEngine::unresolvedFiles(linked.folder, stop);
        throw FailedCommand(
            conflictFailure(QStringLiteral("The merge with %1 has stopped").arg(linked.info.name), files));
    }
}

} // namespace driftwell::dw
