#include "apps/dw/Command.h"
#include "apps/dw/KnownSites.h"
#include "apps/dw/SiteLog.h"
#include "core/DeployHistory.h"

namespace driftwell::dw {

namespace {

QString actionText(const LogEntry& entry) {
    return isRollback(entry) ? QStringLiteral("rollback") : QStringLiteral("deploy");
}

} // namespace

class HistoryCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("history", "Print a site's deployments and rollbacks, the latest first")
            .optionalSite(m_site)
            .json("`site`, `entries`: each `ts`, `action` (`deploy`, `rollback`), `user`, `detail`")
            .example("dw history launch", "Print who published the site launch, and when");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        const PlatformConfig config = requireSignIn(*context->client);
        const QString site = chosenSite(m_site, context->client->store());
        const QList<LogEntry> entries = deployHistory(co_await requireLog(context, config, site, historyLogLines));
        printLog(context->reporter, site, entries, "action", actionText);
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
