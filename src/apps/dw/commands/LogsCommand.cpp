#include "apps/dw/Command.h"
#include "apps/dw/KnownSites.h"
#include "apps/dw/Rows.h"
#include "apps/dw/SeenLog.h"
#include "apps/dw/SiteLog.h"
#include "apps/dw/Texts.h"

#include <algorithm>
#include <charconv>
#include <chrono>

namespace driftwell::dw {

namespace {

struct SiteLog {
    QString site;
    QList<LogEntry> entries;
};

/// What is printed of a site that is followed.
struct SiteLine {
    QString site;
    LogEntry entry;
};

/// The fields of an entry; `entryOf` gives the entry of a record.
template <class Record, class EntryOf> void addEntry(JsonTable<Record>& table, EntryOf entryOf) {
    table.add("at", "when", [entryOf](const Record& record) { return entryOf(record).ts; })
        .add("kind", "a call of the site's pages, a live connection of one, or a deployment",
             [entryOf](const Record& record) { return rawValue(entryOf(record).kind); })
        .words({"api", "ws", "deploy"})
        .add("by", "who", [entryOf](const Record& record) { return entryOf(record).user; })
        .add("detail", "what, in the platform's words",
             [entryOf](const Record& record) { return entryOf(record).detail; });
}

const JsonTable<LogEntry>& entryTable() {
    static const auto table = [] {
        JsonTable<LogEntry> made;
        addEntry(made, [](const LogEntry& entry) { return entry; });
        return made;
    }();
    return table;
}

const JsonTable<SiteLine>& lineTable() {
    static const auto table = [] {
        JsonTable<SiteLine> made;
        made.add("site", "the site", &SiteLine::site);
        addEntry(made, [](const SiteLine& line) { return line.entry; });
        return made;
    }();
    return table;
}

const JsonTable<SiteLog>& logTable() {
    static const auto table = JsonTable<SiteLog>()
                                  .add("site", "the site", &SiteLog::site)
                                  .add("entries", "what happened, the latest first", entryTable(), &SiteLog::entries);
    return table;
}

Rows emptyRows(bool hasHeadings) {
    const auto heading = [hasHeadings](const char* text) {
        return hasHeadings ? QString::fromLatin1(text) : QString();
    };
    return Rows({{"at", heading("TIME"), Table::Shrink::Never, localTimeText},
                 {"kind", heading("KIND")},
                 {"by", heading("BY"), Table::Shrink::Never, personText},
                 {"detail", heading("DETAIL"), Table::Shrink::Cut}});
}

Rows rowsOf(const QList<LogEntry>& entries, bool hasHeadings = true) {
    Rows rows = emptyRows(hasHeadings);
    for (const LogEntry& entry : entries) {
        rows.add(entryTable().object(entry));
    }
    return rows;
}

/// Prints what is new, the latest last. Whether there is still somebody who reads it.
bool printNew(Reporter& reporter, const QString& site, const QList<LogEntry>& entries, bool isFirst) {
    rowsOf(entries, isFirst).print(reporter);
    for (const LogEntry& entry : entries) {
        reporter.object(lineTable(), {site, entry});
    }
    return reporter.flush();
}

/// Whether the next question may bring what this one did not.
bool mayPass(const PlatformError& failure) {
    return failure.kind() == PlatformError::Kind::Unreachable || failure.kind() == PlatformError::Kind::Api;
}

QString outageText(const PlatformError& failure) {
    QString reason = failure.description();
    if (reason.endsWith(u'.')) {
        reason.chop(1);
    }
    return QStringLiteral("The log could not be read (%1). Trying again…").arg(reason);
}

/// How long to wait before the log is asked for again: the longer nothing has come, the longer.
class Pauses {
public:
    std::chrono::milliseconds next() {
        const std::chrono::milliseconds pause = m_next;
        m_next = std::min(pause * 3 / 2, longest);
        return pause;
    }
    void beginAnew() { m_next = shortest; }

private:
    static constexpr std::chrono::milliseconds shortest{1000};
    static constexpr std::chrono::milliseconds longest{10000};

    std::chrono::milliseconds m_next = shortest;
};

/// Asks for the log again and again until a stop. What has failed once may work the next time, and is said once.
Task<ExitCode> follow(std::shared_ptr<Context> context, PlatformConfig config, QString site, int limit) {
    constexpr int mostLinesAtOnce = 200;
    Reporter& reporter = context->reporter;
    SeenLog seen;
    Pauses pauses;
    const QList<LogEntry> first = co_await requireLog(context, config, site, limit);
    bool isRead = printNew(reporter, site, seen.takeNew(first), true);
    bool isOut = false;
    while (isRead) {
        co_await context->sleep(pauses.next(), context->stop);
        QList<LogEntry> entries;
        try {
            const std::optional<LogsResponse> answer =
                co_await context->client->logs(config, site, mostLinesAtOnce, context->stop);
            entries = answer ? answer->entries : QList<LogEntry>();
        } catch (const PlatformError& failure) {
            if (!mayPass(failure)) {
                throw;
            }
            if (!isOut) {
                reporter.notice(outageText(failure));
                isOut = true;
            }
            continue;
        }
        if (isOut) {
            reporter.notice(QStringLiteral("%1 answers again.").arg(config.shownHost()));
            isOut = false;
        }
        const QList<LogEntry> fresh = seen.takeNew(entries);
        if (fresh.size() >= mostLinesAtOnce) {
            reporter.notice(QStringLiteral("So much has happened at once that older lines may be missing here."));
        }
        if (!fresh.isEmpty()) {
            pauses.beginAnew();
            isRead = printNew(reporter, site, fresh, false);
        }
    }
    co_return ExitCode::Failed;
}

} // namespace

class LogsCommand final : public PlatformCommand {
public:
    void define(Definition& command) override {
        command.command("logs", "Print a site's recent activity, the latest first", CommandGroup::Look)
            .optionalSite(m_site)
            .option({"--limit", "N", "At most so many lines (default: 100)"},
                    [this](const std::string& typed) { readLimit(typed); })
            .flag({"--follow", "", "Then print new lines as they come, until Ctrl-C; the latest last", {}, "-f"},
                  m_follows)
            .json(logTable)
            .json(lineTable, "With `--follow`, for each line")
            .example("dw logs launch --limit 20", "Print what happened lately on the site launch, in 20 lines")
            .example("dw logs launch --follow", "Print it, and what happens from now on as it happens")
            .example("dw logs", "Print the activity of the site that the present folder was published as");
    }

    Task<ExitCode> run(std::shared_ptr<Context> context) override {
        const PlatformConfig config = requireSignIn(*context->client);
        const QString site = chosenSite(m_site, context->client->store());
        if (m_follows) {
            co_return co_await follow(context, config, site, m_limit);
        }
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
    bool m_follows = false;
};

template std::unique_ptr<Command> makeCommand<LogsCommand>();

} // namespace driftwell::dw
