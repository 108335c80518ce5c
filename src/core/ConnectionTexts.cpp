#include "core/ConnectionTexts.h"

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
