#include "apps/dw/ChosenName.h"
#include "apps/dw/Command.h"
#include "apps/dw/FolderCaution.h"
#include "apps/dw/LinkedFolders.h"
#include "apps/dw/Texts.h"
#include "apps/dw/TypedFolder.h"
#include "apps/dw/UnansweredChange.h"
#include "collab/FolderGuard.h"
#include "core/Catalog.h"
#include "core/Collaboration.h"
#include "core/Connection.h"
#include "core/Deployments.h"
#include "core/Gates.h"
#include "core/UserDefaults.h"
#include "deploy/Deploy.h"
#include "deploy/DeployResult.h"
#include "deploy/FolderScan.h"
#include "platform/PlatformError.h"
#include "support/Cancellation.h"
#include "support/OwnThread.h"

#include <chrono>
#include <system_error>

namespace driftwell::dw {

namespace {

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

const JsonTable<FolderScan::Unreadable>& unreadableTable() {
    static const auto table = JsonTable<FolderScan::Unreadable>()
                                  .add("count", "how many", &FolderScan::Unreadable::count)
                                  .add("folders", "the first of them", &FolderScan::Unreadable::names);
    return table;
}

const JsonTable<FolderScan::LeftOut>& leftOutTable() {
    static const auto table =
        JsonTable<FolderScan::LeftOut>()
            .add("hidden", "names that begin with a dot", &FolderScan::LeftOut::hidden)
            .add("links", "symbolic links", &FolderScan::LeftOut::links)
            .add("dependencies", "folders named `node_modules`", &FolderScan::LeftOut::dependencies)
            .add("agentFiles", "what coding agents are told, at the top", &FolderScan::LeftOut::agentFiles)
            .add("special", "pipes, sockets and devices", &FolderScan::LeftOut::special);
    return table;
}

/// The files that were published, or would be.
struct Content {
    std::int64_t bytes = 0;
    std::int64_t fileCount = 0;
    FolderScan::Unreadable unreadable;
    /// Absent where the folder could not be looked at.
    std::optional<DeployFlow::Findings> findings;
};

std::optional<FolderScan::LeftOut> leftOut(const Content& content) {
    return content.findings ? std::optional(content.findings->leftOut) : std::nullopt;
}

std::optional<QStringList> warnings(const Content& content) {
    if (!content.findings) {
        return std::nullopt;
    }
    const QString warning = content.findings->startPage.text();
    return warning.isEmpty() ? QStringList() : QStringList(warning);
}

/// What a dry run and a deployment tell alike of the files.
template <class Record> void addContent(JsonTable<Record>& table) {
    table.add("bytes", "the size of the files", [](const Record& record) { return record.content.bytes; })
        .add("fileCount", "how many files", [](const Record& record) { return record.content.fileCount; })
        .add("unreadable", "folders that could not be read and are missing on the site", unreadableTable(),
             [](const Record& record) { return record.content.unreadable; })
        .add("leftOut", "what stays behind, counted by reason; null where the folder could not be looked at",
             leftOutTable(), [](const Record& record) { return leftOut(record.content); })
        .add("warnings", "what may not be meant so; null where the folder could not be looked at",
             [](const Record& record) { return warnings(record.content); });
}

struct Rehearsal {
    QString site;
    Content content;
    FolderScan files;
};

struct RehearsedFile {
    std::string path;
    std::int64_t bytes = 0;
};

QList<RehearsedFile> rehearsedFiles(const Rehearsal& rehearsal) {
    QList<RehearsedFile> files;
    for (std::size_t i = 0; i < rehearsal.files.paths.size(); ++i) {
        files.append({rehearsal.files.paths[i], rehearsal.files.attributes[i].size});
    }
    return files;
}

const JsonTable<RehearsedFile>& rehearsedFileTable() {
    static const auto table = JsonTable<RehearsedFile>()
                                  .add("path", "a file", &RehearsedFile::path)
                                  .add("bytes", "its size", &RehearsedFile::bytes);
    return table;
}

const JsonTable<Rehearsal>& rehearsalTable() {
    static const auto table = [] {
        JsonTable<Rehearsal> made;
        made.add("dryRun", "that nothing was sent", [](const Rehearsal&) { return true; })
            .add("site", "the site that would be published", &Rehearsal::site);
        addContent(made);
        made.add("entries", "the files that would go up", rehearsedFileTable(), rehearsedFiles);
        return made;
    }();
    return table;
}

struct Publication {
    QString site;
    QString url;
    Content content;
    bool isMerged = false;
    /// Absent where the platform did not answer.
    std::optional<std::int64_t> skipped = {};
    std::optional<std::int64_t> sent = {};
    std::optional<double> seconds = {};
};

const JsonTable<Publication>& publicationTable() {
    static const auto table = [] {
        JsonTable<Publication> made;
        made.add("site", "the site", &Publication::site).add("url", "its address", &Publication::url);
        addContent(made);
        made.add("sent", "how many files were sent; null where the platform did not answer", &Publication::sent)
            .add("skipped", "how many of them the platform left out; null where it did not answer",
                 &Publication::skipped)
            .add("answered", "whether the platform answered; if not, it has published it all the same",
                 [](const Publication& publication) { return publication.seconds.has_value(); })
            .add("merged", "whether it was merged with what others had published", &Publication::isMerged)
            .add("seconds", "how long it took; null where the platform did not answer", &Publication::seconds);
        return made;
    }();
    return table;
}

void reportFindings(Reporter& reporter, const DeployFlow::Findings& findings) {
    for (const QString& text : {findings.leftOut.text(), findings.startPage.text()}) {
        if (!text.isEmpty()) {
            reporter.message(text);
        }
    }
}

Task<ExitCode> showFiles(std::filesystem::path folder, QString name, std::shared_ptr<Context> context) {
    const auto work = [folder, stop = context->stop] {
        return FolderScan::scan(folder, stop);
    };
    const FolderScan files = co_await runOnOwnThread(work, context->stop);
    requireFiles(files);
    for (std::size_t i = 0; i < files.paths.size(); ++i) {
        context->reporter.line(QStringLiteral("%1  ").arg(sizeText(files.attributes[i].size), 10).toStdString() +
                               files.paths[i]);
    }
    const DeployFlow::Findings findings{files.leftOut, StartPage::of(files)};
    context->reporter.object(rehearsalTable(),
                             {name, {files.byteCount, files.fileCount, files.unreadable, findings}, files});
    context->reporter.message(QStringLiteral("%1, %2 would be published as %3. Nothing was sent.")
                                  .arg(countText(files.fileCount), sizeText(files.byteCount), name));
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

/// What the platform says of the site before it is published: whether it may be linked, and, where no answer comes
/// afterwards, what tells whether it was published.
Task<> learnSite(Catalog& catalog, PlatformConfig config, std::filesystem::path folder, QString name,
                 std::shared_ptr<Context> context) {
    const KnownBytes nothing;
    Fetched<SitesResponse> sites;
    try {
        sites = co_await context->client->sites(config, nothing, context->stop);
    } catch (const PlatformError&) {
        // Without it, what became of a deployment that is not answered stays unknown.
        if (mayBeLinked(folder, name, context->client->store())) {
            throw;
        }
        co_return;
    }
    // Of this one alone: nothing is to be done here with the folders of others.
    sites.record->sites.removeIf([&name](const SiteInfo& site) { return site.name != name; });
    catalog.store(std::move(sites));
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

void reportSuccess(Reporter& reporter, const DeployFlow& flow, const DeployFlow::Success& success) {
    const DeployResponse& response = success.response;
    const std::int64_t sent = success.sentFiles.value_or(response.files + response.skipped);
    const auto duration = std::chrono::floor<std::chrono::milliseconds>(*flow.finishedAt() - *flow.startedAt());
    reporter.line(response.url.toStdString());
    Content content{response.bytes, response.files, flow.unreadable(), flow.findings()};
    reporter.object(publicationTable(), {response.site, response.url, std::move(content), success.isMerged,
                                         response.skipped, sent, static_cast<double>(duration.count()) / 1000.0});
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

/// The platform did not answer, and has published it.
void reportUnanswered(Reporter& reporter, const DeployFlow& flow, const QString& failure, const QString& url) {
    reporter.line(url.toStdString());
    Content content{flow.byteCount().value_or(0), flow.fileCount().value_or(0), flow.unreadable(), flow.findings()};
    reporter.object(publicationTable(), {flow.siteName(), url, std::move(content)});
    reportMade(reporter, QStringLiteral("%1 is live").arg(flow.siteName()), failure);
}

Task<ExitCode> publish(std::filesystem::path folder, QString name, std::shared_ptr<Context> context) {
    // Before packing, which can take a while: is there a platform, and does it know us?
    const PlatformConfig config = requireConfig(*context->client);
    const std::optional<Identity> identity = co_await requireIdentity(*context->client, config, context->stop);

    Catalog catalog;
    Connection connection(*context->client, catalog);
    // The platform that was asked gets the site, whatever is configured meanwhile.
    connection.use(config);
    Task<> learning = learnSite(catalog, config, folder, name, context);
    co_await learning;
    if (identity) {
        connection.enter(config, *identity);
    }
    Gates gates(openUserDefaults(context->client->store().file()));
    Collaboration collaboration(*context->client, connection, catalog, gates, showNothing);
    Deployments::Surroundings surroundings;
    surroundings.followUp = nothingFollows;
    surroundings.sleep = context->sleep;
    surroundings.linkedRoad = collaboration.linkedRoad();
    Deployments deployments(*context->client, connection, catalog, std::move(surroundings));
    deployments.beginDeploy(folder);
    const std::shared_ptr<DeployFlow> flow = deployments.deployFlow();
    if (!flow) {
        throw std::system_error(std::make_error_code(std::errc::no_such_file_or_directory), folder.string());
    }
    flow->setSiteName(name);
    Reporter& reporter = context->reporter;
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
        reportUnanswered(reporter, *flow, failed->message, outcome->url);
        co_return ExitCode::Done;
    }
    const auto* const success = std::get_if<DeployFlow::Success>(&phase);
    if (success == nullptr) {
        failClosed(collaboration, name, config);
    }
    reportSuccess(reporter, *flow, *success);
    co_return ExitCode::Done;
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
            .flag({"--anyway", "", "Publish also a folder that holds your home folder"}, m_anyway)
            .json(publicationTable)
            .json(rehearsalTable, "With `--dry-run`")
            .example("dw deploy", "Publish the present folder under its own name, or to its linked site")
            .example("dw deploy ./dist --name launch", "Publish the folder dist as the site launch");
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
        Task<QString> choosing = chosenName(m_name, linked, folder, context);
        const QString name = co_await choosing;
        if (m_dryRun) {
            co_return co_await showFiles(folder, name, context);
        }
        co_return co_await publish(folder, name, context);
    }

private:
    /// Bytes as typed.
    std::string m_folder = ".";
    std::optional<std::string> m_name;
    bool m_dryRun = false;
    bool m_anyway = false;
};

template std::unique_ptr<Command> makeCommand<DeployCommand>();

} // namespace driftwell::dw
