#include "ui/window/ToolbarModel.h"

#include "core/ConnectionTexts.h"

namespace driftwell {

using Kind = AppState::Status::Kind;

ToolbarModel::ToolbarModel(AppState& state, QObject* parent) : QObject(parent), m_state(state) {
    connect(&state, &AppState::statusChanged, this, &ToolbarModel::statusChanged);
    connect(&state, &AppState::configChanged, this, &ToolbarModel::hostChanged);
    connect(&state, &AppState::filterChanged, this, &ToolbarModel::filterChanged);
    connect(&state, &AppState::identityChanged, this, &ToolbarModel::identityChanged);
}

QString ToolbarModel::title() const {
    return m_state.client().configDirOverride() ? QStringLiteral("Driftwell Dev") : QStringLiteral("Driftwell");
}

QString ToolbarModel::host() const {
    return hostName(m_state.config());
}

QString ToolbarModel::personName() const {
    return hasIdentity() ? m_state.identity()->name : QString();
}

QString ToolbarModel::personEmail() const {
    return hasIdentity() ? m_state.identity()->email : QString();
}

QString ToolbarModel::personTip() const {
    return hasIdentity() ? personName() + QStringLiteral(" · ") + personEmail() : QString();
}

Tone ToolbarModel::statusTone(const AppState::Status& status) {
    switch (status.kind) {
    case Kind::Unreachable:
        return Tone::Danger;
    case Kind::NotTeam:
    case Kind::SignedOut:
        return Tone::Warning;
    case Kind::NoHost:
    case Kind::Connecting:
        return Tone::Faint;
    case Kind::Connected:
        return Tone::Accent;
    }
    Q_UNREACHABLE();
}

QString ToolbarModel::statusTip(const AppState::Status& status) {
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
