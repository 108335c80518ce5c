#include "apps/dw/SiteLog.h"

#include "apps/dw/KnownSites.h"
#include "apps/dw/Rows.h"
#include "apps/dw/Texts.h"

#include <exception>

namespace driftwell::dw {

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

void printLog(Reporter& reporter, const QString& site, const QList<LogEntry>& entries, const char* key,
              QString (*value)(const LogEntry&)) {
    Rows rows({{"ts", QStringLiteral("TIME"), Table::Shrink::Never, localTimeText},
               {key, QString::fromLatin1(key).toUpper()},
               {"user", QStringLiteral("BY"), Table::Shrink::Never, personText},
               {"detail", QStringLiteral("DETAIL"), Table::Shrink::Cut}});
    for (const LogEntry& entry : entries) {
        rows.add({{"ts", entry.ts.toStdString()},
                  {key, value(entry).toStdString()},
                  {"user", entry.user.toStdString()},
                  {"detail", entry.detail.toStdString()}});
    }
    reporter.object({{"ok", true}, {"site", site.toStdString()}, {"entries", rows.array()}});
    rows.print(reporter);
}

} // namespace driftwell::dw
