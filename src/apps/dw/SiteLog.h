#pragma once

#include "apps/dw/Context.h"

namespace driftwell::dw {

/// The newest lines of a site's log. A platform may refuse a site that it does not know or may have no line of it;
/// either way the reason is that there is no such site, if there is none. Throws as PlatformClient::logs() and
/// requireSite().
[[nodiscard]] Task<QList<LogEntry>> requireLog(std::shared_ptr<Context> context, PlatformConfig config, QString site,
                                               int limit);

} // namespace driftwell::dw
