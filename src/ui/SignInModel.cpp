#include "ui/SignInModel.h"

#include "ui/ConnectionTexts.h"

namespace driftwell {

SignInModel::SignInModel(AppState& state, QObject* parent) : QObject(parent), m_state(state) {
    for (const auto signal : {&Connection::statusChanged, &Connection::configChanged, &Connection::identityChanged}) {
        connect(&state.connection(), signal, this, &SignInModel::changed);
    }
    for (const auto signal : {&SignIn::isSigningInChanged, &SignIn::signInErrorChanged}) {
        connect(&state.signIn(), signal, this, &SignInModel::changed);
    }
}

std::optional<QString> SignInModel::notTeamMessage() const {
    const Connection::Status status = m_state.connection().status();
    return status.kind == Connection::Status::Kind::NotTeam ? std::optional(status.text) : std::nullopt;
}

QString SignInModel::symbol() const {
    return notTeamMessage() ? QStringLiteral("person.crop.circle.badge.exclamationmark")
                            : QStringLiteral("person.crop.circle.badge.checkmark");
}

QString SignInModel::title() const {
    return notTeamMessage() ? QStringLiteral("This account can’t manage sites")
                            : QStringLiteral("Sign in to ") + hostName(m_state);
}

QString SignInModel::text() const {
    return notTeamMessage().value_or(QStringLiteral(
        "Driftwell uses your team account. We’ll open your\nbrowser to finish, then bring you right back."));
}

QString SignInModel::personName() const {
    return hasIdentity() ? m_state.connection().identity()->name : QString();
}

QString SignInModel::personEmail() const {
    return hasIdentity() ? m_state.connection().identity()->email : QString();
}

SignInModel::Action SignInModel::action() const {
    if (m_state.signIn().isSigningIn()) {
        return Action::Cancel;
    }
    return notTeamMessage() ? Action::SignOut : Action::SignIn;
}

} // namespace driftwell
