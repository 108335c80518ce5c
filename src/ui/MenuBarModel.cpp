#include "ui/MenuBarModel.h"

#include "ui/ConnectionTexts.h"
#include "ui/Format.h"

#include <QStringList>

namespace driftwell {

using Kind = AppState::Status::Kind;

MenuBarModel::MenuBarModel(AppState& state, DesktopServices& desktop) : m_state(state), m_desktop(desktop) {
    for (const auto signal :
         {&AppState::statusChanged, &AppState::configChanged, &AppState::identityChanged, &AppState::sitesChanged,
          &AppState::isDeployingChanged, &AppState::isSigningInChanged, &AppState::lastSyncChanged}) {
        connect(&state, signal, this, &MenuBarModel::changed);
    }
    connect(&desktop, &DesktopServices::colorSchemeChanged, this, &MenuBarModel::changed);
}

MenuBarModel::Icon MenuBarModel::icon(const AppState& state) {
    const Kind kind = state.status().kind;
    if (kind == Kind::Unreachable || kind == Kind::NotTeam || kind == Kind::SignedOut) {
        return Icon::Warning;
    }
    return state.isDeploying() ? Icon::Pulsing : Icon::Glyph;
}

DW::Token MenuBarModel::statusToken(const AppState::Status& status) {
    switch (status.kind) {
    case Kind::Unreachable:
        return DW::Token::Danger;
    case Kind::NotTeam:
    case Kind::SignedOut:
        return DW::Token::Warning;
    case Kind::NoHost:
        return DW::Token::TextSecondary;
    case Kind::Connecting:
    case Kind::Connected:
        return DW::Token::Accent;
    }
    Q_UNREACHABLE();
}

QString MenuBarModel::title(const AppState& state) {
    switch (state.status().kind) {
    case Kind::Unreachable:
        return QStringLiteral("Can’t reach ") + hostName(state);
    case Kind::NotTeam:
        return QStringLiteral("Not a team account");
    case Kind::NoHost:
        return QStringLiteral("No platform configured");
    case Kind::SignedOut:
        return QStringLiteral("Not signed in");
    case Kind::Connecting:
    case Kind::Connected:
        return state.identity() ? QStringLiteral("Connected as ") + state.identity()->email
                                : QStringLiteral("Connecting…");
    }
    Q_UNREACHABLE();
}

QString MenuBarModel::headerSubtitle(const AppState& state) {
    const AppState::Status status = state.status();
    switch (status.kind) {
    case Kind::Unreachable:
        return QStringLiteral("retrying in %1s · deploys are paused").arg(status.retryIn);
    case Kind::NotTeam:
        return state.identity() ? state.identity()->email : hostName(state);
    case Kind::NoHost:
        return QStringLiteral("open Driftwell to connect");
    case Kind::SignedOut:
        return state.isSigningIn() ? QStringLiteral("waiting for browser…")
                                   : hostName(state) + QStringLiteral(" · sign in to see your sites");
    case Kind::Connecting:
    case Kind::Connected:
        return subtitle(state);
    }
    Q_UNREACHABLE();
}

QString MenuBarModel::subtitle(const AppState& state) {
    const qsizetype count = state.sites().size();
    QStringList parts{hostName(state),
                      QString::number(count) + (count == 1 ? QStringLiteral(" site") : QStringLiteral(" sites"))};
    if (state.isDeploying()) {
        parts.append(QStringLiteral("1 deploying"));
    }
    return parts.join(QStringLiteral(" · "));
}

MenuBarModel::AuthAction MenuBarModel::authAction(const AppState& state) {
    if (!state.config() || state.config()->isLocal()) {
        return AuthAction::None;
    }
    const Kind kind = state.status().kind;
    if (kind != Kind::NotTeam && kind != Kind::SignedOut) {
        return AuthAction::SignOut;
    }
    return state.isSigningIn() ? AuthAction::None : AuthAction::SignIn;
}

QList<RecentSite> MenuBarModel::recentSites(const AppState& state, Timestamp now) {
    QList<RecentSite> rows;
    const std::optional<QString> deploying = state.deployingSiteName();
    const QList<SiteInfo> sites = state.recentSites();
    for (const SiteInfo& site : sites) {
        const std::optional<Timestamp> time = site.deployedAt ? timestampFromIso(*site.deployedAt) : std::nullopt;
        rows.append({.name = site.name,
                     .age = time ? Format::relativeShort(*time, now) : QStringLiteral("—"),
                     .deploying = deploying == site.name});
    }
    return rows;
}

QVariantList MenuBarModel::recentSiteRows() const {
    QVariantList rows;
    const QList<RecentSite> sites = recentSites(m_state, now());
    for (const RecentSite& site : sites) {
        rows.append(QVariant::fromValue(site));
    }
    return rows;
}

QString MenuBarModel::authTitle() const {
    switch (authAction(m_state)) {
    case AuthAction::None:
        return {};
    case AuthAction::SignIn:
        return QStringLiteral("Sign in…");
    case AuthAction::SignOut:
        return QStringLiteral("Sign out");
    }
    Q_UNREACHABLE();
}

void MenuBarModel::openSite(int row) {
    const QList<SiteInfo> sites = m_state.recentSites();
    if (row >= 0 && row < sites.size()) {
        m_state.openSite(sites[row]);
    }
}

void MenuBarModel::runAuthAction() {
    switch (authAction(m_state)) {
    case AuthAction::None:
        return;
    case AuthAction::SignIn:
        m_state.signIn();
        return;
    case AuthAction::SignOut:
        m_state.signOut();
        return;
    }
}

} // namespace driftwell
