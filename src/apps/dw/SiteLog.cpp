#include "apps/dw/SiteLog.h"

#include "apps/dw/KnownSites.h"

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

} // namespace driftwell::dw
