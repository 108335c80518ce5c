#pragma once

#include "platform/PlatformConfig.h"
#include "platform/Timestamp.h"
#include "tooling/CLIStatus.h"
#include "ui/controls/LaunchAtLogin.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <filesystem>
#include <functional>
#include <optional>

namespace driftwell {

class CLIInstaller;
class Connection;
class LoginItem;
class SignIn;
class Updater;

/// The settings: host, account, command-line tool, updates, start at login. Nearly all of it mirrors the model; the
/// host alone is a draft, which takes effect when it is applied and is lost with this object.
class SettingsModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made with the window")
    Q_PROPERTY(QString hostInput READ hostInput WRITE setHostInput NOTIFY hostInputChanged)
    Q_PROPERTY(bool hostChanged READ hostChanged NOTIFY hostInputChanged)
    Q_PROPERTY(QString hostError READ hostError NOTIFY hostInputChanged)
    Q_PROPERTY(QString applyHint READ applyHint CONSTANT)
    Q_PROPERTY(QString exampleHost READ exampleHost CONSTANT)
    Q_PROPERTY(Account account READ account NOTIFY accountChanged)
    Q_PROPERTY(AccountAction accountAction READ accountAction NOTIFY accountChanged)
    Q_PROPERTY(QString accountText READ accountText NOTIFY accountChanged)
    Q_PROPERTY(QString personName READ personName NOTIFY accountChanged)
    Q_PROPERTY(QString personEmail READ personEmail NOTIFY accountChanged)
    Q_PROPERTY(QString signInError READ signInError NOTIFY accountChanged)
    Q_PROPERTY(QString cliTitle READ cliTitle NOTIFY cliChanged)
    Q_PROPERTY(QString cliPath READ cliPath NOTIFY cliChanged)
    Q_PROPERTY(QString cliNote READ cliNote NOTIFY cliChanged)
    Q_PROPERTY(CLIControl cliControl READ cliControl NOTIFY cliChanged)
    Q_PROPERTY(QString cliError READ cliError NOTIFY cliChanged)
    Q_PROPERTY(QString cliFooter READ cliFooter CONSTANT)
    Q_PROPERTY(QString versionLabel READ versionLabel CONSTANT)
    Q_PROPERTY(bool updatesEnabled READ updatesEnabled CONSTANT)
    Q_PROPERTY(QString lastCheck READ lastCheck NOTIFY updatesChanged)
    Q_PROPERTY(bool canCheck READ canCheck NOTIFY updatesChanged)
    Q_PROPERTY(QString updatesFooter READ updatesFooter CONSTANT)
    Q_PROPERTY(driftwell::LaunchAtLogin* launchAtLogin READ launchAtLogin CONSTANT)

public:
    /// Who is signed in, as far as there is something to say.
    enum class Account { SigningIn, Person, Nobody };
    Q_ENUM(Account)

    /// The account's one button.
    enum class AccountAction { None, Cancel, SignIn, SignOut };
    Q_ENUM(AccountAction)

    /// What the command-line tool's row can do.
    enum class CLIControl { None, Busy, Install, Relink, Remove };
    Q_ENUM(CLIControl)

    /// All outlive the model.
    SettingsModel(Connection& connection, SignIn& signIn, CLIInstaller& cli, Updater& updater, LoginItem& loginItem);

    // What is shown, as functions of what is known.

    /// Whether a draft would connect to another host: it is not blank, and not the present one.
    [[nodiscard]] static bool hostChanged(const QString& hostInput, const std::optional<PlatformConfig>& config);
    [[nodiscard]] static Account account(bool isSigningIn, bool hasIdentity);
    /// A platform on this machine has no account to sign in to or out of.
    [[nodiscard]] static AccountAction accountAction(Account account, const std::optional<PlatformConfig>& config);
    [[nodiscard]] static QString accountText(const std::optional<PlatformConfig>& config);
    [[nodiscard]] static QString cliTitle(const CLIStatus& status, const std::optional<QString>& version);
    /// Where the command lies; empty where it is nowhere. `command` is the one that is linked to this application.
    [[nodiscard]] static QString cliPath(const CLIStatus& status, const std::filesystem::path& command);
    /// Why there is nothing to remove; empty otherwise.
    [[nodiscard]] static QString cliNote(const CLIStatus& status, bool canRemove, const std::filesystem::path& command);
    [[nodiscard]] static CLIControl cliControl(const CLIStatus& status, bool isBusy, bool canRemove);
    [[nodiscard]] static QString cliFooter(const QString& commandName);
    [[nodiscard]] static QString lastCheck(const std::optional<Timestamp>& date, Timestamp now);
    [[nodiscard]] static QString updatesFooter(bool isEnabled);

    [[nodiscard]] QString hostInput() const { return m_hostInput; }
    void setHostInput(const QString& text);
    [[nodiscard]] bool hostChanged() const;
    /// Why what was to be applied is no platform; empty when nothing is wrong with it.
    [[nodiscard]] QString hostError() const { return m_hostError; }
    [[nodiscard]] static QString applyHint();
    /// Stands in the empty field.
    [[nodiscard]] static QString exampleHost();

    [[nodiscard]] Account account() const;
    [[nodiscard]] AccountAction accountAction() const;
    [[nodiscard]] QString accountText() const;
    [[nodiscard]] QString personName() const;
    [[nodiscard]] QString personEmail() const;
    /// Empty when the last sign-in did not fail.
    [[nodiscard]] QString signInError() const;

    [[nodiscard]] QString cliTitle() const;
    [[nodiscard]] QString cliPath() const;
    [[nodiscard]] QString cliNote() const;
    [[nodiscard]] CLIControl cliControl() const;
    /// Empty when the last operation did not fail.
    [[nodiscard]] QString cliError() const;
    [[nodiscard]] QString cliFooter() const;

    [[nodiscard]] QString versionLabel() const;
    [[nodiscard]] bool updatesEnabled() const;
    [[nodiscard]] QString lastCheck() const;
    [[nodiscard]] bool canCheck() const;
    [[nodiscard]] QString updatesFooter() const;

    [[nodiscard]] LaunchAtLogin* launchAtLogin() { return &m_launchAtLogin; }

    /// From now on this is asked before the person is signed out; true where it sees to that itself.
    void askBeforeSignOut(std::function<bool()> ask) { m_askBeforeSignOut = std::move(ask); }

    /// Connects to the draft's host, and shows it as it is written then, unless that can be no platform: then
    /// hostError() says so. Does nothing unless hostChanged().
    Q_INVOKABLE void applyHost();
    Q_INVOKABLE void signIn();
    Q_INVOKABLE void cancelSignIn();
    Q_INVOKABLE void signOut();
    Q_INVOKABLE void installCli();
    Q_INVOKABLE void removeCli();
    Q_INVOKABLE void checkForUpdates();

Q_SIGNALS:
    void hostInputChanged();
    void accountChanged();
    void cliChanged();
    void updatesChanged();

private:
    [[nodiscard]] std::filesystem::path command() const;

    Connection& m_connection;
    SignIn& m_signIn;
    CLIInstaller& m_cli;
    Updater& m_updater;
    std::function<bool()> m_askBeforeSignOut;
    LaunchAtLogin m_launchAtLogin;
    QString m_hostInput;
    QString m_hostError;
};

} // namespace driftwell
