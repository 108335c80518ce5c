#include "ui/tray/TrayTexts.h"

#include "core/ConnectionTexts.h"
#include "core/Format.h"

#include <QStringList>

namespace driftwell {

using Kind = ConnectionStatus::Kind;

namespace {

/// Host, number of sites and what is under way, while connected.
QString summary(const TrayFacts& facts) {
    QStringList parts{hostName(facts.config), Format::counted(facts.sites, QStringLiteral("site"))};
    if (facts.isDeploying) {
        parts.append(QStringLiteral("1 deploying"));
    }
    if (facts.localServerRuns) {
        parts.append(QStringLiteral("local server"));
    }
    return parts.join(QStringLiteral(" · "));
}

} // namespace

TrayIconKind trayIconKind(const TrayFacts& facts) {
    const Kind kind = facts.status.kind;
    if (kind == Kind::Unreachable || kind == Kind::NotTeam || kind == Kind::SignedOut) {
        return TrayIconKind::Warning;
    }
    return facts.isDeploying ? TrayIconKind::Pulsing : TrayIconKind::Glyph;
}

Tone trayTone(const ConnectionStatus& status) {
    switch (status.kind) {
    case Kind::Unreachable:
        return Tone::Danger;
    case Kind::NotTeam:
    case Kind::SignedOut:
        return Tone::Warning;
    case Kind::NoHost:
        return Tone::Muted;
    case Kind::Connecting:
    case Kind::Connected:
        return Tone::Accent;
    }
    Q_UNREACHABLE();
}

QString trayTitle(const TrayFacts& facts) {
    switch (facts.status.kind) {
    case Kind::Unreachable:
        return unreachableText(facts.config);
    case Kind::NotTeam:
        return QStringLiteral("Not a team account");
    case Kind::NoHost:
        return QStringLiteral("No platform configured");
    case Kind::SignedOut:
        return QStringLiteral("Not signed in");
    case Kind::Connecting:
    case Kind::Connected:
        return facts.identity ? QStringLiteral("Connected as ") + facts.identity->email : QStringLiteral("Connecting…");
    }
    Q_UNREACHABLE();
}

QString traySubtitle(const TrayFacts& facts) {
    switch (facts.status.kind) {
    case Kind::Unreachable:
        return retryText(facts.status.retryIn);
    case Kind::NotTeam:
        return facts.identity ? facts.identity->email : hostName(facts.config);
    case Kind::NoHost:
        return QStringLiteral("open Driftwell to connect");
    case Kind::SignedOut:
        return facts.isSigningIn ? QStringLiteral("waiting for browser…")
                                 : hostName(facts.config) + QStringLiteral(" · sign in to see your sites");
    case Kind::Connecting:
    case Kind::Connected:
        return summary(facts);
    }
    Q_UNREACHABLE();
}

AuthAction authAction(const TrayFacts& facts) {
    if (!facts.config || facts.config->isLocal()) {
        return AuthAction::None;
    }
    const Kind kind = facts.status.kind;
    if (kind != Kind::NotTeam && kind != Kind::SignedOut) {
        return AuthAction::SignOut;
    }
    return facts.isSigningIn ? AuthAction::None : AuthAction::SignIn;
}

QString authTitle(AuthAction action) {
    switch (action) {
    case AuthAction::None:
        return {};
    case AuthAction::SignIn:
        return QStringLiteral("Sign in…");
    case AuthAction::SignOut:
        return QStringLiteral("Sign out");
    }
    Q_UNREACHABLE();
}

} // namespace driftwell
