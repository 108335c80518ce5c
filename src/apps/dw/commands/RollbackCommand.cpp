#include "apps/dw/Command.h"
#include "apps/dw/KnownSites.h"

namespace driftwell::dw {

namespace {

const JsonTable<RollbackResponse>& rollbackTable() {
    static const auto table = JsonTable<RollbackResponse>()
                                  .add("site", "the site", &RollbackResponse::site)
                                  .add("url", "its address", &RollbackResponse::url);
    return table;
}

} // namespace

class RollbackCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("rollback", "Swap a site's live version with the one before it", CommandGroup::Undo)
            .site(m_site)
            .json(rollbackTable)
            .example("dw rollback launch", "Show the version before; once more swaps back")
            .example("dw rollback launch && dw open launch", "Go back to the version before and look at it");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        const SiteOnPlatform site = co_await requireNamedSite(context, m_site);
        const RollbackResponse response =
            co_await context->client->rollback(site.config, site.info.name, context->stop);
        context->reporter.line(response.url.toStdString());
        context->reporter.object(rollbackTable(), response);
        context->reporter.success(
            QStringLiteral("%1 shows the version before. Run this again to swap back.").arg(response.site));
        co_return ExitCode::Done;
    }

private:
    std::string m_site;
};

template std::unique_ptr<Command> makeCommand<RollbackCommand>();

} // namespace driftwell::dw
