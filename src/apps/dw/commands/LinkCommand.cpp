#include "apps/dw/Command.h"
#include "apps/dw/KnownSites.h"
#include "apps/dw/LinkedFolders.h"
#include "apps/dw/TypedFolder.h"

namespace driftwell::dw {

class LinkCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command
            .command("link", "Tie a folder to a site that is edited together; no file changes", CommandGroup::Publish)
            .argument({"FOLDER", "The folder to link (default: the present one)", {Candidates::Kind::Folders}},
                      m_folder)
            .option({"--name", "SITE", "The site", {Candidates::Kind::Sites}, "-n"}, m_site)
            .json(linkedSiteTable)
            .example("dw link --name launch", "Link the present folder to the site launch")
            .example("dw link ./dist --name launch", "Link the folder dist");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        if (!m_site) {
            throw WrongUsage(QStringLiteral("dw link needs a site: dw link FOLDER --name SITE"),
                             QStringLiteral("dw list shows the sites."));
        }
        const std::filesystem::path folder = existingFolder(m_folder, "link");
        requireGit();
        const SiteOnPlatform site = co_await requireNamedSite(context, *m_site);
        requireCollab(site.info, site.config);
        context->reporter.progress(QStringLiteral("Linking…"));
        const Git::Access access = Git::Access::of(site.config, context->client->store());
        const std::optional<QString> failure =
            co_await CollabEngine::link(site.info.name, folder, access, context->stop);
        if (failure) {
            throw FailedCommand(gitFailure(
                *failure,
                QStringLiteral("Or make a folder of the site beside it: dw clone %1 FOLDER").arg(site.info.name)));
        }
        context->client->store().saveFolder(site.info.name, folder);
        context->reporter.line(folder.string());
        context->reporter.object(linkedSiteTable(), {folder, site.config, site.info, access});
        context->reporter.success(
            QStringLiteral("%1 is linked to the folder. dw status shows what differs.").arg(site.info.name));
        co_return ExitCode::Done;
    }

private:
    /// Bytes as typed.
    std::string m_folder = ".";
    std::optional<std::string> m_site;
};

template std::unique_ptr<Command> makeCommand<LinkCommand>();

} // namespace driftwell::dw
