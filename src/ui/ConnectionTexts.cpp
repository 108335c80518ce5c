#include "ui/ConnectionTexts.h"

namespace driftwell {

using Kind = Connection::Status::Kind;

QString hostName(const AppState& state) {
    return state.connection().config() ? state.connection().config()->host() : QStringLiteral("driftwell");
}

bool acceptsDeploys(const AppState& state) {
    const Kind kind = state.connection().status().kind;
    return state.connection().config() && kind != Kind::Unreachable && kind != Kind::NotTeam && kind != Kind::SignedOut;
}

bool canDeploy(const AppState& state) {
    return !state.gates().needsOnboarding() && acceptsDeploys(state);
}

std::optional<QString> pausedText(const AppState& state) {
    if (acceptsDeploys(state)) {
        return std::nullopt;
    }
    const Kind kind = state.connection().status().kind;
    if (kind == Kind::NotTeam || kind == Kind::SignedOut) {
        return QStringLiteral("Deploys are paused until you sign in to ") + hostName(state);
    }
    return QStringLiteral("Deploys are paused while %1 is unreachable").arg(hostName(state));
}

} // namespace driftwell
