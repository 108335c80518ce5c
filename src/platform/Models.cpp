#include "platform/Models.h"

namespace driftwell {

QString rawValue(SiteAccessMode mode) {
    switch (mode) {
    case SiteAccessMode::Team:
        return QStringLiteral("team");
    case SiteAccessMode::Restricted:
        return QStringLiteral("restricted");
    case SiteAccessMode::Public:
        return QStringLiteral("public");
    }
    Q_UNREACHABLE();
}

const SiteAccess& SiteAccess::teamDefault() {
    static const SiteAccess access;
    return access;
}

QString LogEntry::id() const {
    return ts + u'-' + user + u'-' + detail;
}

} // namespace driftwell
