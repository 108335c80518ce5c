#include "apps/dw/Command.h"
#include "apps/dw/KnownSites.h"
#include "apps/dw/LinkedFolders.h"
#include "collab/AgentScaffold.h"
#include "support/Bundle.h"

#include <system_error>

namespace driftwell::dw {

namespace {

struct ClonedSite {
    SiteInfo info;
    std::filesystem::path folder;
    bool hasAgentFiles = false;
};

const JsonTable<ClonedSite>& cloneTable() {
    static const auto table = JsonTable<ClonedSite>()
                                  .add("site", "the site", [](const ClonedSite& site) { return site.info.name; })
                                  .add("url", "its address", [](const ClonedSite& site) { return site.info.url; })
                                  .add("folder", "the folder that is now linked to it", &ClonedSite::folder)
                                  .add("hasAgentFiles", "whether what coding agents have to know was written there",
                                       &ClonedSite::hasAgentFiles);
    return table;
}

/// The folder to be made, absolute. Throws WrongUsage for one that has something in it.
std::filesystem::path freshFolder(const std::string& typed) {
    if (typed.empty()) {
        throw WrongUsage(QStringLiteral("The folder's name is empty"), QStringLiteral("Run dw help clone."));
    }
    const std::filesystem::path folder = std::filesystem::weakly_canonical(std::filesystem::absolute(typed));
    if (std::filesystem::exists(std::filesystem::symlink_status(folder)) &&
        !(std::filesystem::is_directory(folder) && std::filesystem::is_empty(folder))) {
        throw WrongUsage(QStringLiteral("%1 is there already and not empty").arg(QString::fromStdString(folder)),
                         QStringLiteral("Name another: dw clone SITE FOLDER. Or link it: dw link FOLDER --name SITE"));
    }
    return folder;
}

} // namespace

class CloneCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("clone", "Make a linked folder of a site and print its path", CommandGroup::Publish)
            .site(m_site)
            .argument({"FOLDER", "The folder to make (default: the site's name)", {Candidates::Kind::Folders}},
                      m_folder)
            .json(cloneTable)
            .example("dw clone launch", "Make the folder launch of the site launch")
            .example("dw clone launch drafts/launch", "Make it elsewhere");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        requireGit();
        const SiteOnPlatform site = co_await requireNamedSite(context, m_site);
        requireCollab(site.info, site.config);
        const std::filesystem::path folder = freshFolder(m_folder.value_or(m_site));
        context->reporter.progress(QStringLiteral("Copying %1…").arg(site.info.name));
        const Git::Access access = Git::Access::of(site.config, context->client->store());
        const std::optional<QString> failure =
            co_await CollabEngine::clone(site.info.name, folder, access, context->stop);
        if (failure) {
            throw FailedCommand(
                gitFailure(*failure, QStringLiteral("Nothing is left of the folder: dw clone can be run again.")));
        }
        context->client->store().saveFolder(site.info.name, folder);
        const bool hasAgentFiles =
            co_await AgentScaffold::write(folder, access, Bundle::ofRunningProgram().helpers(), context->stop);
        context->reporter.line(folder.string());
        context->reporter.object(cloneTable(), {site.info, folder, hasAgentFiles});
        context->reporter.success(
            QStringLiteral("%1 is linked to its folder. Publish changes with dw deploy from there.")
                .arg(site.info.name));
        co_return ExitCode::Done;
    }

private:
    std::string m_site;
    /// Bytes as typed.
    std::optional<std::string> m_folder;
};

template std::unique_ptr<Command> makeCommand<CloneCommand>();

} // namespace driftwell::dw
