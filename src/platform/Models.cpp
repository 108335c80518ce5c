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

QString rawValue(LogEntry::Kind kind) {
    switch (kind) {
    case LogEntry::Kind::Api:
        return QStringLiteral("api");
    case LogEntry::Kind::Ws:
        return QStringLiteral("ws");
    case LogEntry::Kind::Deploy:
        return QStringLiteral("deploy");
    }
    Q_UNREACHABLE();
}

bool isRollback(const LogEntry& entry) {
    return entry.detail.startsWith(QLatin1String("rolled back"));
}

const SiteAccess& SiteAccess::teamDefault() {
    static const SiteAccess access;
    return access;
}

QString LogEntry::id() const {
    return ts + u'-' + user + u'-' + detail;
}

} // namespace driftwell
