#include "ui/MenuBarModel.h"

#include "ui/ConnectionTexts.h"
#include "ui/Format.h"

#include <QStringList>

namespace driftwell {

using Kind = Connection::Status::Kind;

MenuBarModel::MenuBarModel(AppState& state, WindowServices& desktop) : m_state(state), m_desktop(desktop) {
    for (const auto signal : {&Connection::statusChanged, &Connection::configChanged, &Connection::identityChanged,
                              &Connection::lastSyncChanged}) {
        connect(&state.connection(), signal, this, &MenuBarModel::changed);
    }
    connect(&state.catalog(), &Catalog::sitesChanged, this, &MenuBarModel::changed);
    connect(&state.deployments(), &Deployments::isDeployingChanged, this, &MenuBarModel::changed);
    connect(&state.signIn(), &SignIn::isSigningInChanged, this, &MenuBarModel::changed);
    connect(&desktop, &WindowServices::colorSchemeChanged, this, &MenuBarModel::changed);
}

MenuBarModel::Icon MenuBarModel::icon(const AppState& state) {
    const Kind kind = state.connection().status().kind;
    if (kind == Kind::Unreachable || kind == Kind::NotTeam || kind == Kind::SignedOut) {
        return Icon::Warning;
    }
    return state.deployments().isDeploying() ? Icon::Pulsing : Icon::Glyph;
}

DW::Token MenuBarModel::statusToken(const Connection::Status& status) {
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
    switch (state.connection().status().kind) {
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
        return state.connection().identity() ? QStringLiteral("Connected as ") + state.connection().identity()->email
                                             : QStringLiteral("Connecting…");
    }
    Q_UNREACHABLE();
}

QString MenuBarModel::headerSubtitle(const AppState& state) {
    const Connection::Status status = state.connection().status();
    switch (status.kind) {
    case Kind::Unreachable:
        return QStringLiteral("retrying in %1s · deploys are paused").arg(status.retryIn);
    case Kind::NotTeam:
        return state.connection().identity() ? state.connection().identity()->email : hostName(state);
    case Kind::NoHost:
        return QStringLiteral("open Driftwell to connect");
    case Kind::SignedOut:
        return state.signIn().isSigningIn() ? QStringLiteral("waiting for browser…")
                                            : hostName(state) + QStringLiteral(" · sign in to see your sites");
    case Kind::Connecting:
    case Kind::Connected:
        return subtitle(state);
    }
    Q_UNREACHABLE();
}

QString MenuBarModel::subtitle(const AppState& state) {
    const qsizetype count = state.catalog().sites().size();
    QStringList parts{hostName(state),
                      QString::number(count) + (count == 1 ? QStringLiteral(" site") : QStringLiteral(" sites"))};
    if (state.deployments().isDeploying()) {
        parts.append(QStringLiteral("1 deploying"));
    }
    return parts.join(QStringLiteral(" · "));
}

MenuBarModel::AuthAction MenuBarModel::authAction(const AppState& state) {
    if (!state.connection().config() || state.connection().config()->isLocal()) {
        return AuthAction::None;
    }
    const Kind kind = state.connection().status().kind;
    if (kind != Kind::NotTeam && kind != Kind::SignedOut) {
        return AuthAction::SignOut;
    }
    return state.signIn().isSigningIn() ? AuthAction::None : AuthAction::SignIn;
}

QList<RecentSite> MenuBarModel::recentSites(const AppState& state, Timestamp now) {
    QList<RecentSite> rows;
    const std::optional<QString> deploying = state.deployments().deployingSiteName();
    const QList<SiteInfo> sites = state.catalog().recentSites();
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
    const QList<SiteInfo> sites = m_state.catalog().recentSites();
    if (row >= 0 && row < sites.size()) {
        m_state.siteOperations().openSite(sites[row]);
    }
}

void MenuBarModel::runAuthAction() {
    switch (authAction(m_state)) {
    case AuthAction::None:
        return;
    case AuthAction::SignIn:
        m_state.signIn().signIn();
        return;
    case AuthAction::SignOut:
        m_state.signIn().signOut();
        return;
    }
}

} // namespace driftwell
