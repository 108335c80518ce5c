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

/// One line of a site's history.
struct Step {
    LogEntry entry;
    bool isLive = false;
};

struct SiteHistory {
    QString site;
    QList<Step> steps;
};

QList<Step> stepsOf(const QList<LogEntry>& history) {
    QList<Step> steps;
    const std::optional<qsizetype> live = liveDeployment(history);
    for (qsizetype i = 0; i < history.size(); ++i) {
        steps.append({history[i], i == live});
    }
    return steps;
}

const JsonTable<Step>& stepTable() {
    static const auto table =
        JsonTable<Step>()
            .add("at", "when", [](const Step& step) { return step.entry.ts; })
            .add("action", "what was done", [](const Step& step) { return actionText(step.entry); })
            .words({"deploy", "rollback"})
            .add("by", "who did it", [](const Step& step) { return step.entry.user; })
            .add("detail", "the same in the platform's words", [](const Step& step) { return step.entry.detail; })
            .add("live", "whether it is the deployment that is live", &Step::isLive);
    return table;
}

const JsonTable<SiteHistory>& historyTable() {
    static const auto table =
        JsonTable<SiteHistory>()
            .add("site", "the site", &SiteHistory::site)
            .add("entries", "its deployments and rollbacks, the latest first", stepTable(), &SiteHistory::steps);
    return table;
}

Rows rowsOf(const QList<Step>& steps) {
    Rows rows({{"at", QStringLiteral("TIME"), Table::Shrink::Never, localTimeText},
               {"action", QStringLiteral("ACTION")},
               {"by", QStringLiteral("BY"), Table::Shrink::Never, personText},
               {"detail", QStringLiteral("DETAIL"), Table::Shrink::Cut},
               {"live", QString(), Table::Shrink::Never, liveText}});
    for (const Step& step : steps) {
        rows.add(stepTable().object(step));
    }
    return rows;
}

} // namespace

class HistoryCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("history", "Print a site's deployments and rollbacks, and which is live", CommandGroup::Look)
            .optionalSite(m_site)
            .json(historyTable)
            .example("dw history launch", "Print who published the site launch, and when")
            .example("dw history launch --json", "The same as one object, for a program");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        const PlatformConfig config = requireSignIn(*context->client);
        const QString site = chosenSite(m_site, context->client->store());
        const QList<LogEntry> entries = deployHistory(co_await requireLog(context, config, site, historyLogLines));
        const QList<Step> steps = stepsOf(entries);
        context->reporter.object(historyTable(), {site, steps});
        rowsOf(steps).print(context->reporter);
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
