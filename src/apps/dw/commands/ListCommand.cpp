#include "apps/dw/Command.h"
#include "apps/dw/KnownSites.h"
#include "apps/dw/Rows.h"
#include "apps/dw/Texts.h"
#include "core/SiteLists.h"

namespace driftwell::dw {

namespace {

const JsonTable<SiteInfo>& siteTable() {
    static const auto table =
        JsonTable<SiteInfo>()
            .add("site", "its name", &SiteInfo::name)
            .add("url", "its address", &SiteInfo::url)
            .add("at", "when it was deployed last", &SiteInfo::deployedAt)
            .add("by", "who deployed it last", &SiteInfo::deployedBy)
            .add("hasPrevious", "whether there is a version to roll back to", &SiteInfo::hasPrevious)
            .add("mode", "who may open it",
                 [](const SiteInfo& site) { return rawValue(site.access.value_or(SiteAccess::teamDefault()).mode); })
            .words(accessModeWords());
    return table;
}

const JsonTable<QList<SiteInfo>>& listTable() {
    static const auto table =
        JsonTable<QList<SiteInfo>>().add("sites", "the team's sites, the latest deployment first", siteTable(),
                                         [](const QList<SiteInfo>& sites) { return sites; });
    return table;
}

Rows rowsOf(const QList<SiteInfo>& sites) {
    Rows rows({{"site", QStringLiteral("NAME"), Table::Shrink::Cut},
               {"url", QStringLiteral("ADDRESS")},
               {"at", QStringLiteral("DEPLOYED"), Table::Shrink::Drop, localTimeText},
               {"by", QStringLiteral("BY"), Table::Shrink::Drop}});
    for (const SiteInfo& site : sites) {
        rows.add(siteTable().object(site));
    }
    return rows;
}

} // namespace

class ListCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("list", "List the team's sites, the latest deployment first", CommandGroup::Look)
            .alias("ls")
            .json(listTable)
            .example("dw list", "Show a table; in a pipe, a line for each site with tabs between its fields")
            .example("dw list | cut -f 1", "Print the names alone");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        const PlatformConfig config = requireConfig(*context->client);
        co_await requireIdentity(*context->client, config, context->stop);
        const Fetched<SitesResponse> answer = co_await context->client->sites(config, {}, context->stop);
        const QList<SiteInfo> sites = filteredSites(answer.record->sites, {}, SortOrder::MostRecent);
        context->reporter.object(listTable(), sites);
        const Rows rows = rowsOf(sites);
        rows.print(context->reporter);
        if (rows.isEmpty()) {
            context->reporter.message(
                QStringLiteral("No sites on %1 yet. Publish one: dw deploy FOLDER").arg(config.shownHost()));
        }
        co_return ExitCode::Done;
    }
};

template std::unique_ptr<Command> makeCommand<ListCommand>();

} // namespace driftwell::dw
