#include "apps/dw/Command.h"
#include "apps/dw/KnownSites.h"
#include "apps/dw/Rows.h"
#include "apps/dw/SiteLog.h"
#include "apps/dw/Texts.h"

#include <charconv>

namespace driftwell::dw {

namespace {

struct SiteLog {
    QString site;
    QList<LogEntry> entries;
};

const JsonTable<LogEntry>& entryTable() {
    static const auto table = JsonTable<LogEntry>()
                                  .add("at", "when", &LogEntry::ts)
                                  .add("kind", "a call of the site's pages, a live connection of one, or a deployment",
                                       [](const LogEntry& entry) { return rawValue(entry.kind); })
                                  .words({"api", "ws", "deploy"})
                                  .add("by", "who", &LogEntry::user)
                                  .add("detail", "what, in the platform's words", &LogEntry::detail);
    return table;
}

const JsonTable<SiteLog>& logTable() {
    static const auto table = JsonTable<SiteLog>()
                                  .add("site", "the site", &SiteLog::site)
                                  .add("entries", "what happened, the latest first", entryTable(), &SiteLog::entries);
    return table;
}

Rows rowsOf(const QList<LogEntry>& entries) {
    Rows rows({{"at", QStringLiteral("TIME"), Table::Shrink::Never, localTimeText},
               {"kind", QStringLiteral("KIND")},
               {"by", QStringLiteral("BY"), Table::Shrink::Never, personText},
               {"detail", QStringLiteral("DETAIL"), Table::Shrink::Cut}});
    for (const LogEntry& entry : entries) {
        rows.add(entryTable().object(entry));
    }
    return rows;
}

} // namespace

class LogsCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("logs", "Print a site's recent activity, the latest first", CommandGroup::Look)
            .optionalSite(m_site)
            .option({"--limit", "N", "At most so many lines (default: 100)"},
                    [this](const std::string& typed) { readLimit(typed); })
            .json(logTable)
            .example("dw logs launch --limit 20", "Print what happened lately on the site launch, in 20 lines")
            .example("dw logs", "Print the activity of the site that the present folder was published as");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        const PlatformConfig config = requireSignIn(*context->client);
        const QString site = chosenSite(m_site, context->client->store());
        const QList<LogEntry> entries = co_await requireLog(context, config, site, m_limit);
        context->reporter.object(logTable(), {site, entries});
        rowsOf(entries).print(context->reporter);
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
