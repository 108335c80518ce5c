#include "apps/dw/Command.h"
#include "apps/dw/KnownSites.h"
#include "apps/dw/Rows.h"
#include "apps/dw/SiteLog.h"
#include "apps/dw/Texts.h"
#include "core/DeployHistory.h"

namespace driftwell::dw {

namespace {

QString actionText(const LogEntry& entry) {
    return isRollback(entry) ? QStringLiteral("rollback") : QStringLiteral("deploy");
}

QString liveText(const QString& state) {
    return state == QStringLiteral("on") ? QStringLiteral("live") : QString();
}

Rows rowsOf(const QList<LogEntry>& history) {
    Rows rows({{"ts", QStringLiteral("TIME"), Table::Shrink::Never, localTimeText},
               {"action", QStringLiteral("ACTION")},
               {"user", QStringLiteral("BY"), Table::Shrink::Never, personText},
               {"detail", QStringLiteral("DETAIL"), Table::Shrink::Cut},
               {"live", QString(), Table::Shrink::Never, liveText}});
    const std::optional<qsizetype> live = liveDeployment(history);
    for (qsizetype i = 0; i < history.size(); ++i) {
        const LogEntry& entry = history[i];
        rows.add({{"ts", entry.ts.toStdString()},
                  {"action", actionText(entry).toStdString()},
                  {"user", entry.user.toStdString()},
                  {"detail", entry.detail.toStdString()},
                  {"live", i == live}});
    }
    return rows;
}

} // namespace

class HistoryCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("history", "Print a site's deployments and rollbacks, and which is live", CommandGroup::Look)
            .optionalSite(m_site)
            .json("`site`, `entries`: each `ts`, `action` (`deploy`, `rollback`), `user`, `detail`, `live` (whether it "
                  "is the deployment that is live)")
            .example("dw history launch", "Print who published the site launch, and when")
            .example("dw history launch --json", "The same as one object, for a program");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        const PlatformConfig config = requireSignIn(*context->client);
        const QString site = chosenSite(m_site, context->client->store());
        const QList<LogEntry> entries = deployHistory(co_await requireLog(context, config, site, historyLogLines));
        const Rows rows = rowsOf(entries);
        context->reporter.object({{"ok", true}, {"site", site.toStdString()}, {"entries", rows.array()}});
        rows.print(context->reporter);
        if (entries.isEmpty()) {
            context->reporter.message(QStringLiteral("No deploys recorded"));
        }
        co_return ExitCode::Done;
    }

private:
    std::optional<std::string> m_site;
};

template std::unique_ptr<Command> makeCommand<HistoryCommand>();

} // namespace driftwell::dw
