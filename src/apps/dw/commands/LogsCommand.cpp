#include "apps/dw/Command.h"
#include "apps/dw/KnownSites.h"
#include "apps/dw/SiteLog.h"

#include <charconv>

namespace driftwell::dw {

class LogsCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("logs", "Print a site's recent activity, the latest first")
            .optionalSite(m_site)
            .option({"--limit", "N", "At most so many lines (default: 100)"},
                    [this](const std::string& typed) { readLimit(typed); })
            .json("`site`, `entries`: each `ts`, `kind` (`api`, `ws`, `deploy`), `user`, `detail`")
            .example("dw logs launch --limit 20", "Print what happened lately on the site launch, in 20 lines");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        const PlatformConfig config = requireSignIn(*context->client);
        const QString site = chosenSite(m_site, context->client->store());
        const QList<LogEntry> entries = co_await requireLog(context, config, site, m_limit);
        printLog(context->reporter, site, entries, "kind", [](const LogEntry& entry) { return rawValue(entry.kind); });
        if (entries.isEmpty()) {
            context->reporter.message(QStringLiteral("No recent activity for %1").arg(site));
        }
        co_return ExitCode::Done;
    }

private:
    void readLimit(const std::string& typed) {
        const char* const end = typed.data() + typed.size();
        const auto [stop, problem] = std::from_chars(typed.data(), end, m_limit);
        if (problem != std::errc() || stop != end || m_limit < 1) {
            throw WrongUsage(
                QStringLiteral("--limit takes a number from 1 on, not “%1”").arg(QString::fromStdString(typed)));
        }
    }

    std::optional<std::string> m_site;
    int m_limit = 100;
};

template std::unique_ptr<Command> makeCommand<LogsCommand>();

} // namespace driftwell::dw
