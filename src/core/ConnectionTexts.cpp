#include "core/ConnectionTexts.h"

#include "platform/HostRefusal.h"

namespace driftwell {

using Kind = ConnectionStatus::Kind;

QString hostName(const std::optional<PlatformConfig>& config) {
    return config ? config->host() : QStringLiteral("driftwell");
}

QString unreachableText(const std::optional<PlatformConfig>& config) {
    return QStringLiteral("Can’t reach ") + hostName(config);
}

QString retryText(int seconds) {
    return QStringLiteral("retrying in %1s · deploys are paused").arg(seconds);
}

QString outageText(const std::optional<PlatformConfig>& config, const std::optional<QString>& reason) {
    if (!config || !reason) {
        return {};
    }
    if (!config->isReadable()) {
        // It was written into the file, or set in the environment, and no attempt at it was one.
        return hostRefusal(config->host()).value_or(*reason);
    }
    QString text = *reason;
    while (text.endsWith(u'.')) {
        text.chop(1);
    }
    const std::optional<int> port = config->port();
    return port ? QStringLiteral("%1 · port %2").arg(text).arg(*port) : text;
}

bool acceptsDeploys(const std::optional<PlatformConfig>& config, const ConnectionStatus& status) {
    return config && status.kind != Kind::Unreachable && status.kind != Kind::NotTeam && status.kind != Kind::SignedOut;
}

std::optional<QString> pausedText(const std::optional<PlatformConfig>& config, const ConnectionStatus& status) {
    if (acceptsDeploys(config, status)) {
        return std::nullopt;
    }
    if (status.kind == Kind::NotTeam || status.kind == Kind::SignedOut) {
        return QStringLiteral("Deploys are paused until you sign in to ") + hostName(config);
    }
    return QStringLiteral("Deploys are paused while %1 is unreachable").arg(hostName(config));
}

} // namespace driftwell
