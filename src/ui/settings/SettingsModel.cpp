#include "ui/settings/SettingsModel.h"

#include "core/Connection.h"
#include "core/Format.h"
#include "core/SignIn.h"
#include "platform/HostRefusal.h"
#include "support/Concurrency.h"
#include "tooling/CLIInstaller.h"
#include "tooling/Updater.h"

#include <QFile>

namespace driftwell {

namespace {

/// A text with what is known besides in brackets.
QString withRemark(const QString& text, const std::optional<QString>& remark) {
    return remark ? text + QStringLiteral(" (") + *remark + u')' : text;
}

QString shown(const std::filesystem::path& path) {
    return QFile::decodeName(path.c_str());
}

/// Whether only packages of the system put files there (Filesystem Hierarchy Standard 3.0, section 4).
bool isOfThePackages(const std::filesystem::path& path) {
    const std::string& text = path.native();
    return (text.starts_with("/usr/") && !text.starts_with("/usr/local/")) || text.starts_with("/bin/");
}

} // namespace

SettingsModel::SettingsModel(Connection& connection, SignIn& signIn, CLIInstaller& cli, Updater& updater,
                             LoginItem& loginItem)
    : m_connection(connection),
      m_signIn(signIn),
      m_cli(cli),
      m_updater(updater),
      m_launchAtLogin(loginItem),
      m_hostInput(connection.config() ? connection.config()->host() : QString()) {
    connect(&connection, &Connection::configChanged, this, &SettingsModel::hostInputChanged);
    for (const auto signal : {&Connection::configChanged, &Connection::identityChanged}) {
        connect(&connection, signal, this, &SettingsModel::accountChanged);
    }
    for (const auto signal : {&SignIn::isSigningInChanged, &SignIn::signInErrorChanged}) {
        connect(&signIn, signal, this, &SettingsModel::accountChanged);
    }
    for (const auto signal :
         {&CLIInstaller::statusChanged, &CLIInstaller::busyChanged, &CLIInstaller::errorChanged,
          &CLIInstaller::versionChanged, &CLIInstaller::commandPathChanged, &CLIInstaller::canRemoveChanged}) {
        connect(&cli, signal, this, &SettingsModel::cliChanged);
    }
    for (const auto signal : {&Updater::canCheckChanged, &Updater::lastUpdateCheckDateChanged}) {
        connect(&updater, signal, this, &SettingsModel::updatesChanged);
    }
    // How long ago something was is said anew with every poll.
    connect(&connection, &Connection::lastSyncChanged, this, &SettingsModel::updatesChanged);
}

// --- The host ---

bool SettingsModel::hostChanged(const QString& hostInput, const std::optional<PlatformConfig>& config) {
    const QString typed = hostInput.trimmed();
    return !typed.isEmpty() && typed != (config ? config->host() : QString());
}

bool SettingsModel::hostChanged() const {
    return hostChanged(m_hostInput, m_connection.config());
}

QString SettingsModel::applyHint() {
    return QStringLiteral("Press ⏎ or Apply to reconnect");
}

QString SettingsModel::exampleHost() {
    return QStringLiteral(DRIFTWELL_EXAMPLE_HOST);
}

void SettingsModel::setHostInput(const QString& text) {
    if (m_hostInput != text) {
        m_hostInput = text;
        m_hostError.clear();
        Q_EMIT hostInputChanged();
    }
}

void SettingsModel::applyHost() {
    if (!hostChanged()) {
        return;
    }
    if (const std::optional<QString> refusal = hostRefusal(m_hostInput.trimmed())) {
        m_hostError = *refusal;
        Q_EMIT hostInputChanged();
        return;
    }
    m_connection.setHost(m_hostInput);
    if (m_connection.config()) {
        setHostInput(m_connection.config()->host());
    }
}

// --- The account ---

SettingsModel::Account SettingsModel::account(bool isSigningIn, bool hasIdentity) {
    if (isSigningIn) {
        return Account::SigningIn;
    }
    return hasIdentity ? Account::Person : Account::Nobody;
}

SettingsModel::AccountAction SettingsModel::accountAction(Account account,
                                                          const std::optional<PlatformConfig>& config) {
    if (account == Account::SigningIn) {
        return AccountAction::Cancel;
    }
    if (!config || config->isLocal()) {
        return AccountAction::None;
    }
    return account == Account::Person ? AccountAction::SignOut : AccountAction::SignIn;
}

QString SettingsModel::accountText(const std::optional<PlatformConfig>& config) {
    return config && config->isLocal() ? QStringLiteral("Local platform — the dev server supplies the identity.")
                                       : QStringLiteral("Not signed in");
}

SettingsModel::Account SettingsModel::account() const {
    return account(m_signIn.isSigningIn(), m_connection.identity().has_value());
}

SettingsModel::AccountAction SettingsModel::accountAction() const {
    return accountAction(account(), m_connection.config());
}

QString SettingsModel::accountText() const {
    return accountText(m_connection.config());
}

QString SettingsModel::personName() const {
    return m_connection.identity() ? m_connection.identity()->name : QString();
}

QString SettingsModel::personEmail() const {
    return m_connection.identity() ? m_connection.identity()->email : QString();
}

QString SettingsModel::signInError() const {
    return m_signIn.signInError().value_or(QString());
}

void SettingsModel::signIn() {
    m_signIn.signIn();
}

void SettingsModel::cancelSignIn() {
    m_signIn.cancelSignIn();
}

void SettingsModel::signOut() {
    if (!m_askBeforeSignOut || !m_askBeforeSignOut()) {
        m_signIn.signOut();
    }
}

// --- The command-line tool ---

QString SettingsModel::cliTitle(const CLIStatus& status, const std::optional<QString>& version) {
    switch (status.kind) {
    case CLIStatus::Kind::Checking:
        return QStringLiteral("Checking…");
    case CLIStatus::Kind::NotInstalled:
        return QStringLiteral("Not installed");
    case CLIStatus::Kind::LinkedToThisApp:
        return withRemark(QStringLiteral("Installed"), version);
    case CLIStatus::Kind::LinkedElsewhere:
        return QStringLiteral("Points at an old copy of Driftwell");
    case CLIStatus::Kind::OtherInstall:
        return withRemark(QStringLiteral("Already installed"), status.otherInstallSource());
    case CLIStatus::Kind::Unavailable:
        return QStringLiteral("Not in this build");
    }
    Q_UNREACHABLE();
}

QString SettingsModel::cliPath(const CLIStatus& status, const std::filesystem::path& command) {
    return status.kind == CLIStatus::Kind::LinkedToThisApp ? shown(command) : status.text;
}

QString SettingsModel::cliNote(const CLIStatus& status, bool canRemove, const std::filesystem::path& command) {
    const bool isPackaged = status.kind == CLIStatus::Kind::LinkedToThisApp && !canRemove && isOfThePackages(command);
    return isPackaged ? QStringLiteral("Installed by a package") : QString();
}

SettingsModel::CLIControl SettingsModel::cliControl(const CLIStatus& status, bool isBusy, bool canRemove) {
    if (isBusy) {
        return CLIControl::Busy;
    }
    switch (status.kind) {
    case CLIStatus::Kind::LinkedElsewhere:
        return CLIControl::Relink;
    case CLIStatus::Kind::NotInstalled:
        return CLIControl::Install;
    case CLIStatus::Kind::LinkedToThisApp:
        return canRemove ? CLIControl::Remove : CLIControl::None;
    case CLIStatus::Kind::Checking:
    case CLIStatus::Kind::OtherInstall:
    case CLIStatus::Kind::Unavailable:
        return CLIControl::None;
    }
    Q_UNREACHABLE();
}

QString SettingsModel::cliFooter(const QString& commandName) {
    return QStringLiteral("The `%1` command ships inside the app and is linked from /usr/local/bin, so terminals and "
                          "coding agents can deploy, clone and share. Linking asks for your password.")
        .arg(commandName);
}

std::filesystem::path SettingsModel::command() const {
    return m_cli.commandPath().value_or(m_cli.linkPath());
}

QString SettingsModel::cliTitle() const {
    return cliTitle(m_cli.status(), m_cli.version());
}

QString SettingsModel::cliPath() const {
    return cliPath(m_cli.status(), command());
}

QString SettingsModel::cliNote() const {
    return cliNote(m_cli.status(), m_cli.canRemove(), command());
}

SettingsModel::CLIControl SettingsModel::cliControl() const {
    return cliControl(m_cli.status(), m_cli.busy(), m_cli.canRemove());
}

QString SettingsModel::cliError() const {
    return m_cli.error().value_or(QString());
}

QString SettingsModel::cliFooter() const {
    return cliFooter(m_cli.commandName());
}

void SettingsModel::installCli() {
    detach(m_cli.install());
}

void SettingsModel::removeCli() {
    detach(m_cli.remove());
}

// --- Updates ---

QString SettingsModel::lastCheck(const std::optional<Timestamp>& date, Timestamp now) {
    return date ? QStringLiteral("last checked ") + Format::relative(*date, now) : QStringLiteral("not checked yet");
}

QString SettingsModel::updatesFooter(bool isEnabled) {
    return isEnabled ? QStringLiteral("Checks once a day and installs new versions in the background; a downloaded "
                                      "update is applied when the app relaunches.")
                     : QStringLiteral("This copy was built for development and does not check for updates.");
}

QString SettingsModel::versionLabel() const {
    return QStringLiteral("Driftwell ") + m_updater.versionLabel();
}

bool SettingsModel::updatesEnabled() const {
    return m_updater.isEnabled();
}

QString SettingsModel::lastCheck() const {
    return updatesEnabled() ? lastCheck(m_updater.lastUpdateCheckDate(), now()) : QString();
}

bool SettingsModel::canCheck() const {
    return m_updater.canCheck();
}

QString SettingsModel::updatesFooter() const {
    return updatesFooter(updatesEnabled());
}

void SettingsModel::checkForUpdates() {
    m_updater.checkForUpdates();
}

} // namespace driftwell
