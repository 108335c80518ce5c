#include "ui/ToolbarModel.h"

#include "platform/PlatformClient.h"
#include "ui/ConnectionTexts.h"

namespace driftwell {

using Kind = Connection::Status::Kind;

ToolbarModel::ToolbarModel(AppState& state, WindowServices& desktop, QObject* parent)
    : QObject(parent), m_state(state), m_desktop(desktop) {
    connect(&state.connection(), &Connection::statusChanged, this, &ToolbarModel::statusChanged);
    connect(&desktop, &WindowServices::colorSchemeChanged, this, &ToolbarModel::statusChanged);
    connect(&state.connection(), &Connection::configChanged, this, &ToolbarModel::hostChanged);
    connect(&state.catalog(), &Catalog::filterChanged, this, &ToolbarModel::filterChanged);
    connect(&state.connection(), &Connection::identityChanged, this, &ToolbarModel::identityChanged);
}

QString ToolbarModel::title() const {
    return m_state.client().configDirOverride() ? QStringLiteral("Driftwell Dev") : QStringLiteral("Driftwell");
}

QString ToolbarModel::host() const {
    return hostName(m_state);
}

QString ToolbarModel::personName() const {
    return hasIdentity() ? m_state.connection().identity()->name : QString();
}

QString ToolbarModel::personEmail() const {
    return hasIdentity() ? m_state.connection().identity()->email : QString();
}

QString ToolbarModel::personTip() const {
    return hasIdentity() ? personName() + QStringLiteral(" · ") + personEmail() : QString();
}

DW::Token ToolbarModel::statusToken(const Connection::Status& status) {
    switch (status.kind) {
    case Kind::Unreachable:
        return DW::Token::Danger;
    case Kind::NotTeam:
    case Kind::SignedOut:
        return DW::Token::Warning;
    case Kind::NoHost:
    case Kind::Connecting:
        return DW::Token::TextTertiary;
    case Kind::Connected:
        return DW::Token::Accent;
    }
    Q_UNREACHABLE();
}

QString ToolbarModel::statusTip(const Connection::Status& status) {
    switch (status.kind) {
    case Kind::Unreachable:
        return QStringLiteral("Unreachable");
    case Kind::NotTeam:
        return status.text;
    case Kind::NoHost:
        return QStringLiteral("No platform host configured");
    case Kind::Connecting:
        return QStringLiteral("Connecting…");
    case Kind::Connected:
        return QStringLiteral("Connected");
    case Kind::SignedOut:
        return QStringLiteral("Not signed in");
    }
    Q_UNREACHABLE();
}

} // namespace driftwell
