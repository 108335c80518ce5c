#include "ui/signin/SignInModel.h"

#include "core/ConnectionTexts.h"

namespace driftwell {

namespace {

bool isNotOnTheTeam(const Connection::Status& status) {
    return status.kind == Connection::Status::Kind::NotTeam;
}

} // namespace

SignInModel::SignInModel(Connection& connection, SignIn& signIn, QObject* parent)
    : QObject(parent), m_connection(connection), m_signIn(signIn) {
    for (const auto signal : {&Connection::statusChanged, &Connection::configChanged, &Connection::identityChanged}) {
        connect(&connection, signal, this, &SignInModel::changed);
    }
    for (const auto signal : {&SignIn::isSigningInChanged, &SignIn::signInErrorChanged}) {
        connect(&signIn, signal, this, &SignInModel::changed);
    }
}

QString SignInModel::symbol(const Connection::Status& status) {
    return isNotOnTheTeam(status) ? QStringLiteral("person.crop.circle.badge.exclamationmark")
                                  : QStringLiteral("person.crop.circle.badge.checkmark");
}

QString SignInModel::title(const Connection::Status& status, const std::optional<PlatformConfig>& config) {
    return isNotOnTheTeam(status) ? QStringLiteral("This account can’t manage sites")
                                  : QStringLiteral("Sign in to ") + hostName(config);
}

QString SignInModel::text(const Connection::Status& status) {
    return isNotOnTheTeam(status) ? status.text
                                  : QStringLiteral("Driftwell uses your team account. We’ll open your\n"
                                                   "browser to finish, then bring you right back.");
}

SignInModel::Action SignInModel::action(const Connection::Status& status, bool isSigningIn) {
    if (isSigningIn) {
        return Action::Cancel;
    }
    return isNotOnTheTeam(status) ? Action::SignOut : Action::SignIn;
}

QString SignInModel::personName() const {
    return hasIdentity() ? m_connection.identity()->name : QString();
}

QString SignInModel::personEmail() const {
    return hasIdentity() ? m_connection.identity()->email : QString();
}

} // namespace driftwell
