#include "ui/signin/SignInModel.h"

#include "core/Connection.h"
#include "core/ConnectionTexts.h"
#include "core/SignIn.h"

namespace driftwell {

namespace {

bool isNotOnTheTeam(const ConnectionStatus& status) {
    return status.kind == ConnectionStatus::Kind::NotTeam;
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

QString SignInModel::symbol(const ConnectionStatus& status) {
    return isNotOnTheTeam(status) ? QStringLiteral("person.crop.circle.badge.exclamationmark")
                                  : QStringLiteral("person.crop.circle.badge.checkmark");
}

QString SignInModel::title(const ConnectionStatus& status, const std::optional<PlatformConfig>& config) {
    return isNotOnTheTeam(status) ? QStringLiteral("This account can’t manage sites")
                                  : QStringLiteral("Sign in to ") + hostName(config);
}

QString SignInModel::text(const ConnectionStatus& status) {
    return isNotOnTheTeam(status) ? status.text
                                  : QStringLiteral("Driftwell uses your team account. We’ll open your\n"
                                                   "browser to finish, then bring you right back.");
}

SignInModel::Action SignInModel::action(const ConnectionStatus& status, bool isSigningIn) {
    if (isSigningIn) {
        return Action::Cancel;
    }
    return isNotOnTheTeam(status) ? Action::SignOut : Action::SignIn;
}

QString SignInModel::symbol() const {
    return symbol(m_connection.status());
}

QString SignInModel::title() const {
    return title(m_connection.status(), m_connection.config());
}

QString SignInModel::text() const {
    return text(m_connection.status());
}

bool SignInModel::hasIdentity() const {
    return m_connection.identity().has_value();
}

SignInModel::Action SignInModel::action() const {
    return action(m_connection.status(), m_signIn.isSigningIn());
}

QString SignInModel::error() const {
    return m_signIn.signInError().value_or(QString());
}

void SignInModel::signIn() {
    m_signIn.signIn();
}

void SignInModel::cancelSignIn() {
    m_signIn.cancelSignIn();
}

void SignInModel::signOut() {
    m_signIn.signOut();
}

void SignInModel::changePlatform() {
    Q_EMIT platformChangeRequested();
}

QString SignInModel::personName() const {
    return hasIdentity() ? m_connection.identity()->name : QString();
}

QString SignInModel::personEmail() const {
    return hasIdentity() ? m_connection.identity()->email : QString();
}

} // namespace driftwell
