#include "apps/dw/Command.h"
#include "apps/dw/Rows.h"
#include "apps/dw/Texts.h"
#include "core/SiteLists.h"

namespace driftwell::dw {

namespace {

Rows rowsOf(const QList<SiteInfo>& sites) {
    Rows rows({{"name", QStringLiteral("NAME"), Table::Shrink::Cut},
               {"url", QStringLiteral("ADDRESS")},
               {"deployedAt", QStringLiteral("DEPLOYED"), Table::Shrink::Drop, localTimeText},
               {"deployedBy", QStringLiteral("BY"), Table::Shrink::Drop}});
    for (const SiteInfo& site : sites) {
        rows.add({{"name", site.name.toStdString()},
                  {"url", site.url.toStdString()},
                  {"deployedAt", orNull(site.deployedAt)},
                  {"deployedBy", orNull(site.deployedBy)},
                  {"hasPrevious", site.hasPrevious},
                  {"access", rawValue(site.access.value_or(SiteAccess::teamDefault()).mode).toStdString()}});
    }
    return rows;
}

} // namespace

class ListCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("list", "List the team's sites, the latest deployment first", CommandGroup::Look)
            .alias("ls")
            .json("`sites`: each `name`, `url`, `deployedAt`, `deployedBy`, `hasPrevious`, `access`")
            .example("dw list", "Show a table; in a pipe, a line for each site with tabs between its fields")
            .example("dw list | cut -f 1", "Print the names alone");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        const PlatformConfig config = requireConfig(*context->client);
        co_await requireIdentity(*context->client, config, context->stop);
        const Fetched<SitesResponse> answer = co_await context->client->sites(config, {}, context->stop);
        const Rows rows = rowsOf(filteredSites(answer.record->sites, {}, SortOrder::MostRecent));
        context->reporter.object({{"ok", true}, {"sites", rows.array()}});
        rows.print(context->reporter);
        if (rows.isEmpty()) {
            context->reporter.message(
                QStringLiteral("No sites on %1 yet. Publish one: dw deploy FOLDER").arg(config.host()));
        }
        co_return ExitCode::Done;
    }
};

template std::unique_ptr<Command> makeCommand<ListCommand>();

} // namespace driftwell::dw
