#include "apps/dw/ChosenName.h"
#include "apps/dw/Command.h"
#include "apps/dw/FolderCaution.h"
#include "apps/dw/KnownSites.h"
#include "apps/dw/LinkedFolders.h"
#include "apps/dw/PublicationTables.h"
#include "apps/dw/Texts.h"
#include "apps/dw/TypedFolder.h"
#include "apps/dw/UnansweredChange.h"
#include "collab/FolderGuard.h"
#include "core/Catalog.h"
#include "core/Collaboration.h"
#include "core/Connection.h"
#include "core/Deployments.h"
#include "core/Format.h"
#include "core/Gates.h"
#include "core/UserDefaults.h"
#include "deploy/Deploy.h"
#include "deploy/DeployResult.h"
#include "deploy/FolderScan.h"
#include "deploy/PackingFailure.h"
#include "platform/PlatformError.h"
#include "support/Cancellation.h"
#include "support/OwnThread.h"

#include <chrono>
#include <system_error>

namespace driftwell::dw {

namespace {

/// How a person wants it published.
struct Manner {
    bool mustBeNew = false;
    bool isChecked = false;
};

bool hasVersionControl(const std::filesystem::path& folder) {
    std::error_code error;
    const std::filesystem::path git = folder / ".git";
    const std::filesystem::file_status status = std::filesystem::symlink_status(git, error);
    // Without a store of objects a folder of that name is no repository (gitrepository-layout(5)).
    return std::filesystem::is_directory(status) ? std::filesystem::exists(git / "objects", error)
                                                 : std::filesystem::exists(status);
}

/// The site that a folder is linked to on the platform in use. Throws WrongUsage when that cannot be told.
Task<std::optional<QString>> linkedSite(std::filesystem::path folder, std::shared_ptr<Context> context) {
    if (!hasVersionControl(folder)) {
        co_return std::nullopt;
    }
    const FolderGuard guard = co_await FolderGuard::inspect(folder, context->stop);
    if (!guard.areSettingsKnown) {
        throw WrongUsage(QStringLiteral("It cannot be told which site the folder is linked to: %1")
                             .arg(guard.refusal.value_or(QString())),
                         QStringLiteral("Name the site: dw deploy FOLDER --name NAME"));
    }
    const std::optional<QString> host = context->client->store().resolveHost();
    std::optional<QString> site = host ? siteOf(guard, PlatformConfig(*host)) : std::nullopt;
    if (site && !SiteName::isValid(*site)) {
        site = std::nullopt;
    }
    co_return site;
}

/// What of the folder is missing on the site, since it could not be read.
void reportUnreadable(Reporter& reporter, const FolderScan::Unreadable& unreadable) {
    if (unreadable.count > 0) {
        reporter.message(unreadable.text());
    }
}

void reportFindings(Reporter& reporter, const DeployFlow::Findings& findings) {
    for (const QString& text : {findings.leftOut.text(), findings.startPage.text()}) {
        if (!text.isEmpty()) {
            reporter.message(text);
        }
    }
}

/// "Maya Lindqvist’s version of 2026-03-01 10:02", as far as the platform tells.
QString versionText(const Replaced& replaced) {
    const bool isTold = replaced.by && !replaced.by->isEmpty();
    const QString version =
        isTold ? QStringLiteral("%1’s version").arg(Format::actor(*replaced.by)) : QStringLiteral("the version");
    return replaced.at ? QStringLiteral("%1 of %2").arg(version, localTimeText(*replaced.at))
                       : version + QStringLiteral(" that is there");
}

Predecessor predecessorIn(const std::optional<SiteInfo>& site) {
    return {!site, site ? std::optional(Replaced{site->deployedAt, site->deployedBy}) : std::nullopt};
}

[[noreturn]] void refuseExisting(const SiteInfo& site, const PlatformConfig& config) {
    throw FailedCommand(CommandFailure{
        ErrorKind::SiteExists, QStringLiteral("There is a site “%1” on %2 already").arg(site.name, config.shownHost()),
        QStringLiteral("Choose another name with --name, or leave out --new to replace it.")}
                            .at(config));
}

/// What a deployment would take the place of, and why that is not known, where somebody could expect to be told.
struct Foresight {
    Predecessor predecessor = {};
    QString warning = {};
};

/// A platform is needed only for who wants to be sure of a new site.
Task<Foresight> foresee(QString name, bool mustBeNew, std::shared_ptr<Context> context) {
    Foresight foresight;
    try {
        const PlatformConfig config = requireSignIn(*context->client);
        const std::optional<SiteInfo> site = co_await listedSite(context, config, name);
        if (site && mustBeNew) {
            refuseExisting(*site, config);
        }
        foresight.predecessor = predecessorIn(site);
    } catch (const PlatformError& failure) {
        if (mustBeNew) {
            throw;
        }
        // Whoever has not chosen a platform, or not signed in, does not expect to be told.
        if (failure.kind() != PlatformError::Kind::NoHost && failure.kind() != PlatformError::Kind::Unauthenticated) {
            foresight.warning =
                QStringLiteral("Whether this would replace anything is not known: %1").arg(failure.description());
        }
    }
    co_return foresight;
}

Task<ExitCode> showFiles(std::filesystem::path folder, QString name, bool mustBeNew, std::shared_ptr<Context> context) {
    const auto work = [folder, stop = context->stop] {
        return FolderScan::scan(folder, stop);
    };
    const FolderScan files = co_await runOnOwnThread(work, context->stop);
    requireFiles(files);
    // What is linked is not packed.
    const std::optional<PackingFailure> unpackable =
        hasVersionControl(folder) ? std::nullopt : findUnpackableFile(files);
    if (unpackable) {
        throw PlatformError::ofFolder(unpackable->text).with(unpackable->reason);
    }
    Task<Foresight> foreseeing = foresee(name, mustBeNew, context);
    const Foresight foresight = co_await foreseeing;
    for (std::size_t i = 0; i < files.paths.size(); ++i) {
        context->reporter.line(QStringLiteral("%1  ").arg(sizeText(files.attributes[i].size), 10).toStdString() +
                               files.paths[i]);
    }
    const DeployFlow::Findings findings{files.leftOut, StartPage::of(files)};
    Content content{files.byteCount, files.fileCount, files.unreadable, findings};
    if (!foresight.warning.isEmpty()) {
        content.warnings += foresight.warning;
        context->reporter.message(foresight.warning);
    }
    context->reporter.object(rehearsalTable(), {name, foresight.predecessor, content, files});
    context->reporter.message(QStringLiteral("%1, %2 would be published as %3. Nothing was sent.")
                                  .arg(countText(files.fileCount), sizeText(files.byteCount), name));
    if (foresight.predecessor.replaced) {
        context->reporter.message(
            QStringLiteral("It would replace %1.").arg(versionText(*foresight.predecessor.replaced)));
    }
    reportUnreadable(context->reporter, files.unreadable);
    reportFindings(context->reporter, findings);
    co_return ExitCode::Done;
}

/// Whether one of the two folders may be linked to the site.
bool mayBeLinked(const std::filesystem::path& folder, const QString& name, const ConfigStore& store) {
    const auto folders = store.folderMap();
    const auto remembered = folders.find(name);
    return hasVersionControl(folder) || (remembered != folders.end() && hasVersionControl(remembered->second));
}

/// What the platform says of the site before it is published: whether it is there, whether it may be linked, and, where
/// no answer comes afterwards, what tells whether it was published. Throws FailedCommand for a site that is there and
/// must not be.
Task<std::optional<SiteInfo>> learnSite(Catalog& catalog, PlatformConfig config, std::filesystem::path folder,
                                        QString name, bool mustBeNew, std::shared_ptr<Context> context) {
    const KnownBytes nothing;
    Fetched<SitesResponse> sites;
    try {
        sites = co_await context->client->sites(config, nothing, context->stop);
    } catch (const PlatformError&) {
        // Without it, what became of a deployment that is not answered stays unknown.
        if (mustBeNew || mayBeLinked(folder, name, context->client->store())) {
            throw;
        }
        co_return std::nullopt;
    }
    // Of this one alone: nothing is to be done here with the folders of others.
    sites.record->sites.removeIf([&name](const SiteInfo& site) { return site.name != name; });
    std::optional<SiteInfo> site;
    if (!sites.record->sites.isEmpty()) {
        site = sites.record->sites.front();
    }
    if (site && mustBeNew) {
        refuseExisting(*site, config);
    }
    catalog.store(std::move(sites));
    co_return site;
}

/// Throws why a deployment has gone without success and without a failure of its own.
[[noreturn]] void failClosed(const Collaboration& collaboration, const QString& site, const PlatformConfig& config) {
    if (collaboration.conflictTarget() == site) {
        throw FailedCommand(conflictFailure(QStringLiteral("%1 was not published").arg(site),
                                            collaboration.collabStates().value(site).files));
    }
    requireGit();
    throw FailedCommand(unknownAuthor(config));
}

/// The process ends with a deployment; nobody looks at a list afterwards.
Task<> nothingFollows(QString, std::stop_token) {
    co_return;
}

void showNothing(const std::filesystem::path&) {}

Publication publicationOf(const DeployFlow& flow, const DeployFlow::Success& success) {
    const DeployResponse& response = success.response;
    Content content{response.bytes, response.files, flow.unreadable(), flow.findings()};
    Publication publication{response.site, response.url, {}, std::move(content), success.isMerged};
    publication.skipped = response.skipped;
    publication.sent = success.sentFiles.value_or(response.files + response.skipped);
    const auto duration = std::chrono::floor<std::chrono::milliseconds>(*flow.finishedAt() - *flow.startedAt());
    publication.seconds = static_cast<double>(duration.count()) / 1000.0;
    return publication;
}

/// Of a platform that did not answer, and has published it.
Publication unansweredPublication(const DeployFlow& flow, const QString& url) {
    Content content{flow.byteCount().value_or(0), flow.fileCount().value_or(0), flow.unreadable(), flow.findings()};
    return {flow.siteName(), url, {}, std::move(content)};
}

void tellSuccess(Reporter& reporter, const DeployFlow& flow, const DeployFlow::Success& success) {
    const DeployResponse& response = success.response;
    const std::int64_t sent = success.sentFiles.value_or(response.files + response.skipped);
    const auto duration = std::chrono::floor<std::chrono::milliseconds>(*flow.finishedAt() - *flow.startedAt());
    if (success.isMerged) {
        reporter.success(QStringLiteral("%1 is live: merged with what the platform has, in %2")
                             .arg(response.site, durationText(duration)));
        return;
    }
    reporter.success(
        QStringLiteral("%1 is live: %2, %3 in %4")
            .arg(response.site, countText(response.files), sizeText(response.bytes), durationText(duration)));
    if (response.skipped > 0) {
        reporter.message(QStringLiteral("The platform left out %1.").arg(countText(response.skipped)));
    }
    if (!countsAllFiles(response, sent)) {
        reporter.message(QStringLiteral("%1 sent, but the platform speaks of %2. Look at the site.")
                             .arg(countText(sent), countText(response.files + response.skipped)));
    }
    reportUnreadable(reporter, flow.unreadable());
}

Task<SiteCheck> checkAddress(QString url, PlatformConfig config, std::shared_ptr<Context> context) {
    context->reporter.progress(QStringLiteral("Asking %1…").arg(url));
    const auto visit = [client = context->client.get(), config, url](std::stop_token stop) {
        return client->visit(config, url, stop);
    };
    co_return co_await askUntilItAnswers(visit, context->sleep, context->stop);
}

/// Somebody may have published in the moment between the look whether the name was free and the publication. The site
/// then has a version before the live one, which a new one has not. Throws FailedCommand if it has.
Task<> requireNew(Publication* publication, PlatformConfig config, std::shared_ptr<Context> context) {
    std::optional<SiteInfo> site;
    try {
        site = co_await listedSite(context, config, publication->site);
    } catch (const PlatformError& failure) {
        publication->content.warnings +=
            QStringLiteral("Whether somebody published %1 at the same time is not known: %2")
                .arg(publication->site, failure.description());
        context->reporter.message(publication->content.warnings.last());
    }
    if (site && site->hasPrevious) {
        CommandFailure failure{
            ErrorKind::NotNew,
            QStringLiteral(
                "%1 is live, and it was published twice at the same time: what is live is %2, and there is a "
                "version before it")
                .arg(publication->site, versionText(*predecessorIn(site).replaced)),
            QStringLiteral("Look whose they are: dw history %1. To swap the two: dw rollback %1")
                .arg(publication->site)};
        throw FailedCommand(failure.at(config));
    }
}

/// The end of a deployment that has made a site live.
Task<ExitCode> conclude(Publication publication, PlatformConfig config, Manner manner,
                        std::shared_ptr<Context> context) {
    Reporter& reporter = context->reporter;
    if (publication.predecessor.replaced) {
        reporter.message(QStringLiteral("It replaced %1.").arg(versionText(*publication.predecessor.replaced)));
    }
    if (manner.mustBeNew && !publication.isMerged) {
        co_await requireNew(&publication, config, context);
    }
    if (manner.isChecked) {
        const SiteCheck check = co_await checkAddress(publication.url, config, context);
        if (!check.isWell()) {
            CommandFailure failure{ErrorKind::NotAnswering,
                                   QStringLiteral("%1 is live, and its address does not answer well, asked for %2: %3")
                                       .arg(publication.site, durationText(check.duration), check.text),
                                   QStringLiteral("Look at it: dw info %1").arg(publication.site)};
            failure.details.httpStatus = check.answer ? check.answer->status : 0;
            throw FailedCommand(failure.at(config));
        }
        reporter.message(QStringLiteral("%1 It took %2.").arg(check.text, durationText(check.duration)));
        publication.check = check;
    }
    reporter.object(publicationTable(), publication);
    co_return ExitCode::Done;
}

Task<ExitCode> publish(std::filesystem::path folder, QString name, Manner manner, std::shared_ptr<Context> context) {
    // Before packing, which can take a while: is there a platform, and does it know us?
    const PlatformConfig config = requireConfig(*context->client);
    const std::optional<Identity> identity = co_await requireIdentity(*context->client, config, context->stop);

    Catalog catalog;
    Connection connection(*context->client, catalog);
    // The platform that was asked gets the site, whatever is configured meanwhile.
    connection.use(config);
    Task<std::optional<SiteInfo>> learning = learnSite(catalog, config, folder, name, manner.mustBeNew, context);
    const std::optional<SiteInfo> earlier = co_await learning;
    if (identity) {
        connection.enter(config, *identity);
    }
    Gates gates(openUserDefaults(context->client->store().file()));
    Collaboration collaboration(*context->client, connection, catalog, gates, showNothing);
    Deployments::Surroundings surroundings;
    surroundings.followUp = nothingFollows;
    surroundings.sleep = context->sleep;
    surroundings.linkedRoad = collaboration.linkedRoad();
    // Nobody looks at the figures before the deployment begins.
    surroundings.preview = Deployments::Preview::WhenConfirmed;
    Deployments deployments(*context->client, connection, catalog, std::move(surroundings));
    deployments.beginDeploy(folder);
    const std::shared_ptr<DeployFlow> flow = deployments.deployFlow();
    if (!flow) {
        throw std::system_error(std::make_error_code(std::errc::no_such_file_or_directory), folder.string());
    }
    flow->setSiteName(name);
    Reporter& reporter = context->reporter;
    const bool isMerge =
        earlier && earlier->collab && earlier->collab->enabled && mayBeLinked(folder, name, context->client->store());
    const Predecessor predecessor = catalog.areSitesKnown() ? predecessorIn(earlier) : Predecessor();
    if (earlier && !isMerge) {
        reporter.message(QStringLiteral("This replaces %1.").arg(versionText(*predecessor.replaced)));
    }
    const auto showStage = [flow = flow.get(), &reporter] {
        reporter.progress(stageText(flow->stage()), stageName(flow->stage()));
    };
    QObject::connect(flow.get(), &DeployFlow::stageChanged, flow.get(), showStage);
    const auto showFindings = [flow = flow.get(), &reporter] {
        // That there is nothing to publish is said by the failure.
        if (flow->fileCount().value_or(0) > 0) {
            reportFindings(reporter, flow->findings().value_or(DeployFlow::Findings()));
        }
    };
    QObject::connect(flow.get(), &DeployFlow::findingsChanged, flow.get(), showFindings);
    const auto showQuestion = [flow = flow.get(), &reporter, config] {
        if (flow->isOutcomeAsked()) {
            reporter.progress(outcomeQuestionText(config));
        }
    };
    QObject::connect(flow.get(), &DeployFlow::outcomeChanged, flow.get(), showQuestion);
    showStage();

    const std::stop_callback interrupt(context->stop, [&deployments] { deployments.end(); });
    co_await deployments.confirmDeploy();
    throwIfCancelled(context->stop);

    const DeployFlow::Phase phase = flow->phase();
    if (const auto* const failed = std::get_if<DeployFlow::Failure>(&phase)) {
        const std::optional<ChangeOutcome> outcome = flow->outcome();
        const CommandFailure failure = commandFailure(failed->message, failed->kind, failed->details);
        if (!outcome) {
            throw FailedCommand(failure);
        }
        requireMade(failure, SentChange::Kind::Deployment, name, *outcome);
        Publication publication = unansweredPublication(*flow, outcome->url);
        publication.predecessor = predecessor;
        reporter.line(outcome->url.toStdString());
        reportMade(reporter, QStringLiteral("%1 is live").arg(flow->siteName()), failed->message);
        co_return co_await conclude(publication, config, manner, context);
    }
    const auto* const success = std::get_if<DeployFlow::Success>(&phase);
    if (success == nullptr) {
        failClosed(collaboration, name, config);
    }
    Publication publication = publicationOf(*flow, *success);
    publication.predecessor = predecessor;
    if (success->isMerged) {
        publication.predecessor.replaced = std::nullopt;
    }
    reporter.line(success->response.url.toStdString());
    tellSuccess(reporter, *flow, *success);
    co_return co_await conclude(publication, config, manner, context);
}

} // namespace

class DeployCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("deploy", "Publish a folder as a website and print its address", CommandGroup::Publish)
            .argument({"FOLDER", "The folder to publish (default: the present one)", {Candidates::Kind::Folders}},
                      m_folder)
            .option({"--name", "NAME", "The site's name (default: the one before, or the folder's)", {}, "-n"}, m_name)
            .flag({"--dry-run", "", "List the files that would go up and send nothing"}, m_dryRun)
            .flag({"--new", "", "Publish only if there is no site of this name yet"}, m_manner.mustBeNew)
            .flag({"--check", "", "Then ask the address until it answers, for a minute at most"}, m_manner.isChecked)
            .flag({"--anyway", "", "Publish also a folder that holds your home folder"}, m_anyway)
            .json(publicationTable)
            .json(rehearsalTable, "With `--dry-run`")
            .example("dw deploy", "Publish the present folder under its own name, or to its linked site")
            .example("dw deploy ./dist --name launch", "Publish the folder dist as the site launch")
            .example("dw deploy ./dist --name launch --check", "The same, and see that its address answers");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        const std::filesystem::path folder = existingFolder(m_folder, "deploy");
        if (!m_anyway) {
            refuseTooMuch(folder);
        }
        std::optional<QString> linked;
        if (!m_name) {
            linked = co_await linkedSite(folder, context);
        }
        const TypedFolder named{m_folder, folder};
        Task<QString> choosing = chosenName(m_name, linked, named, context);
        const QString name = co_await choosing;
        if (m_dryRun) {
            co_return co_await showFiles(folder, name, m_manner.mustBeNew, context);
        }
        co_return co_await publish(folder, name, m_manner, context);
    }

private:
    /// Bytes as typed.
    std::string m_folder = ".";
    std::optional<std::string> m_name;
    bool m_dryRun = false;
    Manner m_manner;
    bool m_anyway = false;
};

template std::unique_ptr<Command> makeCommand<DeployCommand>();

} // namespace driftwell::dw
