#include "ui/onboarding/OnboardingModel.h"

#include "core/Connection.h"
#include "core/ConnectionTexts.h"
#include "core/Gates.h"
#include "core/SignIn.h"
#include "desktop/DesktopServices.h"
#include "platform/HostRefusal.h"
#include "support/Concurrency.h"
#include "tooling/CLIInstaller.h"

#include <utility>

namespace driftwell {

using Kind = ConnectionStatus::Kind;

namespace {

/// Signed in, as far as the platform has not said otherwise since.
bool isKnown(const OnboardingModel::Facts& facts) {
    return facts.hasIdentity && facts.status.kind != Kind::NotTeam && facts.status.kind != Kind::SignedOut;
}

OnboardingModel::Primary signInPrimary(bool editingHost, const OnboardingModel::Facts& facts) {
    using Primary = OnboardingModel::Primary;
    if (editingHost) {
        return {Primary::Kind::Waiting, QStringLiteral("Sign in…")};
    }
    if (isKnown(facts)) {
        return {Primary::Kind::Finish, QStringLiteral("Open Driftwell")};
    }
    if (facts.isSigningIn) {
        return {Primary::Kind::Waiting, QStringLiteral("Waiting for browser…")};
    }
    switch (facts.status.kind) {
    case Kind::NotTeam:
        return {Primary::Kind::SignInAnother, QStringLiteral("Sign in with another account…")};
    case Kind::Unreachable:
    case Kind::Connecting:
    case Kind::Connected:
        return {Primary::Kind::Waiting, QStringLiteral("Connecting…")};
    case Kind::NoHost:
    case Kind::SignedOut:
        return {Primary::Kind::SignIn, QStringLiteral("Sign in…")};
    }
    Q_UNREACHABLE();
}

} // namespace

OnboardingModel::OnboardingModel(Connection& connection, SignIn& signIn, Gates& gates, CLIInstaller& cli,
                                 DesktopServices& desktop, LoginItem& loginItem, QObject* parent)
    : QObject(parent),
      m_connection(connection),
      m_signIn(signIn),
      m_gates(gates),
      m_cli(cli),
      m_desktop(desktop),
      m_launchAtLogin(loginItem) {
    for (const auto signal : {&Connection::statusChanged, &Connection::configChanged, &Connection::identityChanged,
                              &Connection::outageChanged, &Connection::isRetryingChanged}) {
        connect(&connection, signal, this, &OnboardingModel::changed);
    }
    for (const auto signal : {&SignIn::isSigningInChanged, &SignIn::signInErrorChanged}) {
        connect(&signIn, signal, this, &OnboardingModel::changed);
    }
    for (const auto signal : {&CLIInstaller::statusChanged, &CLIInstaller::busyChanged, &CLIInstaller::errorChanged}) {
        connect(&cli, signal, this, &OnboardingModel::changed);
    }
    connect(&gates, &Gates::gitToolsInstalledChanged, this, &OnboardingModel::changed);
    connect(this, &OnboardingModel::stepChanged, this, &OnboardingModel::changed);
}

OnboardingModel::~OnboardingModel() {
    m_probe.request_stop();
}

// --- What is shown ---

OnboardingModel::Primary OnboardingModel::primary(Step step, bool editingHost, const Facts& facts) {
    switch (step) {
    case Step::Welcome:
        return {Primary::Kind::Next, QStringLiteral("Get started")};
    case Step::Setup:
        return {Primary::Kind::Next, QStringLiteral("Continue")};
    case Step::SignIn:
        return signInPrimary(editingHost, facts);
    }
    Q_UNREACHABLE();
}

OnboardingModel::GitTools OnboardingModel::gitTools(std::optional<bool> installed, bool wasPrompted) {
    if (!installed) {
        return GitTools::Probing;
    }
    if (*installed) {
        return GitTools::Present;
    }
    return wasPrompted ? GitTools::Prompted : GitTools::Missing;
}

OnboardingModel::CLI OnboardingModel::cli(const CLIStatus& status, bool isBusy) {
    if (isBusy) {
        return CLI::Busy;
    }
    switch (status.kind) {
    case CLIStatus::Kind::LinkedToThisApp:
        return CLI::Linked;
    case CLIStatus::Kind::OtherInstall:
        return CLI::Other;
    case CLIStatus::Kind::Unavailable:
        return CLI::Unavailable;
    case CLIStatus::Kind::Checking:
        return CLI::Checking;
    case CLIStatus::Kind::NotInstalled:
        return CLI::NotInstalled;
    case CLIStatus::Kind::LinkedElsewhere:
        return CLI::Elsewhere;
    }
    Q_UNREACHABLE();
}

QString OnboardingModel::cliText(const CLIStatus& status, bool isBusy) {
    switch (cli(status, isBusy)) {
    case CLI::Busy:
        return QStringLiteral("Waiting for your password…");
    case CLI::Linked:
        return QStringLiteral("Installed");
    case CLI::Other: {
        const std::optional<QString> source = status.otherInstallSource();
        return source ? QStringLiteral("Already installed (%1)").arg(*source) : QStringLiteral("Already installed");
    }
    case CLI::Unavailable:
        return QStringLiteral("Not in this build");
    case CLI::Checking:
    case CLI::NotInstalled:
    case CLI::Elsewhere:
        return {};
    }
    Q_UNREACHABLE();
}

OnboardingModel::Account OnboardingModel::account(const Facts& facts) {
    if (isKnown(facts)) {
        return Account::Known;
    }
    if (facts.isSigningIn) {
        return Account::Waiting;
    }
    switch (facts.status.kind) {
    case Kind::Unreachable:
        return Account::Unreachable;
    case Kind::NotTeam:
        return Account::NotTeam;
    case Kind::Connecting:
    case Kind::Connected:
        return Account::Connecting;
    case Kind::NoHost:
    case Kind::SignedOut:
        return Account::Unknown;
    }
    Q_UNREACHABLE();
}

QString OnboardingModel::accountText(const Facts& facts) {
    switch (account(facts)) {
    case Account::Known:
        return facts.config && facts.config->isLocal() ? QStringLiteral("Local platform") : QStringLiteral("Signed in");
    case Account::Waiting:
        return QStringLiteral("Waiting for your browser…");
    case Account::Unreachable:
        return QStringLiteral("Can’t reach ") + host(facts.config) + QStringLiteral(" — retrying");
    case Account::NotTeam:
        return facts.status.text;
    case Account::Connecting:
        return QStringLiteral("Connecting to ") + host(facts.config);
    case Account::Unknown:
        return QStringLiteral("Not signed in yet");
    }
    Q_UNREACHABLE();
}

QString OnboardingModel::defaultHost() {
    return QStringLiteral(DRIFTWELL_DEFAULT_HOST);
}

QString OnboardingModel::host(const std::optional<PlatformConfig>& config) {
    return config.value_or(PlatformConfig(defaultHost())).host();
}

OnboardingModel::Facts OnboardingModel::facts() const {
    return {.config = m_connection.config(),
            .status = m_connection.status(),
            .hasIdentity = m_connection.identity().has_value(),
            .isSigningIn = m_signIn.isSigningIn()};
}

OnboardingModel::Primary OnboardingModel::primary() const {
    return primary(m_step, m_editingHost, facts());
}

QString OnboardingModel::host() const {
    return host(m_connection.config());
}

OnboardingModel::GitTools OnboardingModel::gitTools() const {
    return gitTools(m_gates.gitToolsInstalled(), m_installPrompted);
}

OnboardingModel::CLI OnboardingModel::cli() const {
    return cli(m_cli.status(), m_cli.busy());
}

QString OnboardingModel::cliText() const {
    return cliText(m_cli.status(), m_cli.busy());
}

QString OnboardingModel::cliError() const {
    return m_cli.error().value_or(QString());
}

QString OnboardingModel::cliDetail() const {
    return QStringLiteral("Lets Claude Code, Codex and you publish, clone and share projects from a terminal. Installs "
                          "the %1 command; asks for your password once.")
        .arg(m_cli.commandName());
}

OnboardingModel::Account OnboardingModel::account() const {
    return account(facts());
}

QString OnboardingModel::accountText() const {
    return accountText(facts());
}

QString OnboardingModel::outage() const {
    const bool isShown = account() == Account::Unreachable;
    return isShown ? outageText(m_connection.config(), m_connection.outage()) : QString();
}

bool OnboardingModel::isRetrying() const {
    return m_connection.isRetrying();
}

QString OnboardingModel::signInError() const {
    return m_signIn.signInError().value_or(QString());
}

// --- What is done ---

void OnboardingModel::runPrimary() {
    switch (primary().kind) {
    case Primary::Kind::Next:
        go(1);
        return;
    case Primary::Kind::Waiting:
        return;
    case Primary::Kind::SignIn:
        if (!m_connection.config()) {
            m_connection.setHost(defaultHost());
        }
        m_signIn.signIn();
        return;
    case Primary::Kind::SignInAnother:
        m_signIn.signOut();
        m_signIn.signIn();
        return;
    case Primary::Kind::Finish:
        m_gates.completeOnboarding();
        return;
    }
}

void OnboardingModel::go(int delta) {
    const int target = static_cast<int>(m_step) + delta;
    if (target >= static_cast<int>(Step::Welcome) && target <= static_cast<int>(Step::SignIn)) {
        enter(static_cast<Step>(target));
    }
}

void OnboardingModel::enter(Step step) {
    if (std::exchange(m_step, step) == step) {
        return;
    }
    m_probe.request_stop();
    m_installPrompted = false;
    m_editingHost = false;
    if (step == Step::Setup) {
        m_probe = std::stop_source();
        detach(m_gates.watchGitTools(m_probe.get_token()));
    }
    Q_EMIT stepChanged();
}

void OnboardingModel::promptGitInstall() {
    m_installPrompted = true;
    m_desktop.promptInstall(QStringLiteral("git"));
    Q_EMIT changed();
}

void OnboardingModel::installCli() {
    detach(m_cli.install());
}

void OnboardingModel::setHostInput(const QString& text) {
    if (std::exchange(m_hostInput, text) != text) {
        setHostError({});
        Q_EMIT hostInputChanged();
    }
}

void OnboardingModel::setHostError(const QString& error) {
    if (std::exchange(m_hostError, error) != error) {
        Q_EMIT changed();
    }
}

void OnboardingModel::setEditingHost(bool editing) {
    if (std::exchange(m_editingHost, editing) != editing) {
        Q_EMIT changed();
    }
}

void OnboardingModel::editHost() {
    setHostInput(host());
    setHostError({});
    setEditingHost(true);
}

void OnboardingModel::saveHost() {
    const QString typed = m_hostInput.trimmed();
    if (typed.isEmpty()) {
        return;
    }
    // What was not changed has lost its scheme on its way to the screen.
    const PlatformConfig shown = m_connection.config().value_or(PlatformConfig(defaultHost()));
    const QString chosen = typed == shown.host() ? shown.origin() : typed;
    const std::optional<QString> refusal = hostRefusal(chosen);
    setHostError(refusal.value_or(QString()));
    if (!refusal) {
        m_connection.setHost(chosen);
        setEditingHost(false);
    }
}

void OnboardingModel::cancelHost() {
    setHostError({});
    setEditingHost(false);
}

void OnboardingModel::retryNow() {
    m_connection.retryNow();
}

void OnboardingModel::cancelSignIn() {
    m_signIn.cancelSignIn();
}

} // namespace driftwell
