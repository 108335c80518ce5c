#include "ui/signin/SignInModel.h"

#include "core/ConnectionTexts.h"

namespace driftwell {

SignInModel::SignInModel(Connection& connection, SignIn& signIn, QObject* parent)
    : QObject(parent), m_connection(connection), m_signIn(signIn) {
    for (const auto signal : {&Connection::statusChanged, &Connection::configChanged, &Connection::identityChanged}) {
        connect(&connection, signal, this, &SignInModel::changed);
    }
    for (const auto signal : {&SignIn::isSigningInChanged, &SignIn::signInErrorChanged}) {
        connect(&signIn, signal, this, &SignInModel::changed);
    }
}

std::optional<QString> SignInModel::notTeamMessage() const {
    const Connection::Status status = m_connection.status();
    return status.kind == Connection::Status::Kind::NotTeam ? std::optional(status.text) : std::nullopt;
}

QString SignInModel::symbol() const {
    return notTeamMessage() ? QStringLiteral("person.crop.circle.badge.exclamationmark")
                            : QStringLiteral("person.crop.circle.badge.checkmark");
}

QString SignInModel::title() const {
    return notTeamMessage() ? QStringLiteral("This account can’t manage sites")
                            : QStringLiteral("Sign in to ") + hostName(m_connection.config());
}

QString SignInModel::text() const {
    return notTeamMessage().value_or(QStringLiteral(
        "Driftwell uses your team account. We’ll open your\nbrowser to finish, then bring you right back."));
}

QString SignInModel::personName() const {
    return hasIdentity() ? m_connection.identity()->name : QString();
}

QString SignInModel::personEmail() const {
    return hasIdentity() ? m_connection.identity()->email : QString();
}

SignInModel::Action SignInModel::action() const {
    if (m_signIn.isSigningIn()) {
        return Action::Cancel;
    }
    return notTeamMessage() ? Action::SignOut : Action::SignIn;
}

} // namespace driftwell
