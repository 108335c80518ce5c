#include "apps/dw/LogCommands.h"

#include "apps/dw/JsonValues.h"
#include "apps/dw/KnownSites.h"
#include "apps/dw/Table.h"
#include "apps/dw/Texts.h"
#include "core/DeployHistory.h"

#include <exception>

namespace driftwell::dw {

namespace {

/// The newest lines of a site's log. A platform may refuse a site that it does not know or may have no line of it;
/// either way the reason is that there is no such site, if there is none.
Task<QList<LogEntry>> requireLog(std::shared_ptr<Context> context, PlatformConfig config, QString site, int limit) {
    std::optional<LogsResponse> answer;
    std::exception_ptr refusal;
    try {
        answer = co_await context->client->logs(config, site, limit, context->stop);
    } catch (const PlatformError& failure) {
        if (failure.kind() != PlatformError::Kind::Api) {
            throw;
        }
        refusal = std::current_exception();
    }
    if (!answer || answer->entries.isEmpty()) {
        co_await requireSite(context, config, site);
    }
    if (refusal) {
        std::rethrow_exception(refusal);
    }
    co_return answer ? answer->entries : QList<LogEntry>();
}

QString actionText(const LogEntry& entry) {
    return isRollback(entry) ? QStringLiteral("rollback") : QStringLiteral("deploy");
}

/// What stands in the second column: where a line of a log comes from, or what a line of a history tells of.
using SecondColumn = QString (*)(const LogEntry&);

void printFields(Reporter& reporter, const QList<LogEntry>& entries, SecondColumn second) {
    for (const LogEntry& entry : entries) {
        reporter.line(fieldsText({entry.ts, second(entry), entry.user, entry.detail}).toStdString());
    }
}

void printTable(Reporter& reporter, const QList<LogEntry>& entries, SecondColumn second, const QString& heading) {
    Table table(
        {{QStringLiteral("TIME")}, {heading}, {QStringLiteral("BY")}, {QStringLiteral("DETAIL"), Table::Shrink::Cut}});
    for (const LogEntry& entry : entries) {
        table.add({localTimeText(entry.ts), second(entry), personText(entry.user), entry.detail});
    }
    for (const QString& line : table.lines(Reporter::outputColumns())) {
        reporter.line(line.toStdString());
    }
}

/// `key` names the second column, in a table as its heading.
void print(Reporter& reporter, const QString& site, const QList<LogEntry>& entries, const char* key,
           SecondColumn second) {
    Json array = Json::array();
    for (const LogEntry& entry : entries) {
        array.push_back({{"ts", entry.ts.toStdString()},
                         {key, second(entry).toStdString()},
                         {"user", entry.user.toStdString()},
                         {"detail", entry.detail.toStdString()}});
    }
    reporter.object({{"ok", true}, {"site", site.toStdString()}, {"entries", array}});
    if (reporter.outputIsTerminal() && !entries.isEmpty()) {
        printTable(reporter, entries, second, QString::fromLatin1(key).toUpper());
    } else {
        printFields(reporter, entries, second);
    }
}

} // namespace

Task<ExitCode> logs(Arguments arguments, std::shared_ptr<Context> context) {
    const PlatformConfig config = requireSignIn(*context->client);
    const QString site = chosenSite(arguments, context->client->store());
    const QList<LogEntry> entries = co_await requireLog(context, config, site, arguments.limit);
    print(context->reporter, site, entries, "kind", [](const LogEntry& entry) { return rawValue(entry.kind); });
    if (entries.isEmpty()) {
        context->reporter.message(QStringLiteral("No recent activity for %1").arg(site));
    }
    co_return ExitCode::Done;
}

Task<ExitCode> history(Arguments arguments, std::shared_ptr<Context> context) {
    const PlatformConfig config = requireSignIn(*context->client);
    const QString site = chosenSite(arguments, context->client->store());
    const QList<LogEntry> entries = deployHistory(co_await requireLog(context, config, site, historyLogLines));
    print(context->reporter, site, entries, "action", actionText);
    if (entries.isEmpty()) {
        context->reporter.message(QStringLiteral("No deploys recorded"));
    }
    co_return ExitCode::Done;
}

} // namespace driftwell::dw
