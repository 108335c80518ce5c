#pragma once

#include "core/ConnectionStatus.h"
#include "platform/PlatformConfig.h"
#include "tooling/CLIStatus.h"
#include "ui/controls/LaunchAtLogin.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <optional>
#include <stop_token>

namespace driftwell {

class CLIInstaller;
class Connection;
class DesktopServices;
class Gates;
class LoginItem;
class SignIn;

/// The introduction of the first run, in three steps: what the product does, what is to be installed, and who the
/// person is. It ends when the person ends it; what was done on the way stands whatever becomes of it.
class OnboardingModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the window's model")
    Q_PROPERTY(Step step READ step NOTIFY stepChanged)
    Q_PROPERTY(QString primaryTitle READ primaryTitle NOTIFY changed)
    Q_PROPERTY(bool primaryEnabled READ primaryEnabled NOTIFY changed)
    Q_PROPERTY(bool editingHost READ isEditingHost NOTIFY changed)
    Q_PROPERTY(QString hostInput READ hostInput WRITE setHostInput NOTIFY hostInputChanged)
    Q_PROPERTY(QString hostError READ hostError NOTIFY changed)
    Q_PROPERTY(QString host READ host NOTIFY changed)
    Q_PROPERTY(GitTools gitTools READ gitTools NOTIFY changed)
    Q_PROPERTY(CLI cli READ cli NOTIFY changed)
    Q_PROPERTY(QString cliText READ cliText NOTIFY changed)
    Q_PROPERTY(QString cliError READ cliError NOTIFY changed)
    Q_PROPERTY(QString cliDetail READ cliDetail CONSTANT)
    Q_PROPERTY(driftwell::LaunchAtLogin* launchAtLogin READ launchAtLogin CONSTANT)
    Q_PROPERTY(Account account READ account NOTIFY changed)
    Q_PROPERTY(QString accountText READ accountText NOTIFY changed)
    Q_PROPERTY(QString outage READ outage NOTIFY changed)
    Q_PROPERTY(bool retrying READ isRetrying NOTIFY changed)
    Q_PROPERTY(QString signInError READ signInError NOTIFY changed)

public:
    /// In this order.
    enum class Step { Welcome, Setup, SignIn };
    Q_ENUM(Step)

    /// What the button at the foot of every step is.
    struct Primary {
        enum class Kind {
            Next,    ///< leads to the next step
            Waiting, ///< cannot be pressed
            SignIn,
            SignInAnother, ///< signs out first
            Finish,
        };
        Kind kind;
        QString title;
        bool operator==(const Primary&) const = default;
    };

    /// How git is come by.
    enum class GitTools {
        Probing,
        Present,
        Missing,
        Prompted, ///< still missing, and the person was offered to install it
    };
    Q_ENUM(GitTools)

    /// What is said of the command-line tool.
    enum class CLI { Busy, Linked, Other, Unavailable, Checking, NotInstalled, Elsewhere };
    Q_ENUM(CLI)

    /// What is said of the person.
    enum class Account { Known, Waiting, Unreachable, NotTeam, Connecting, Unknown };
    Q_ENUM(Account)

    /// What is known of the connection and the person.
    struct Facts {
        std::optional<PlatformConfig> config = {};
        ConnectionStatus status = ConnectionStatus::connecting();
        bool hasIdentity = false;
        bool isSigningIn = false;
    };

    /// All outlive the model.
    OnboardingModel(Connection& connection, SignIn& signIn, Gates& gates, CLIInstaller& cli, DesktopServices& desktop,
                    LoginItem& loginItem, QObject* parent);
    ~OnboardingModel() override;

    // What is shown, as functions of what is known.

    [[nodiscard]] static Primary primary(Step step, bool editingHost, const Facts& facts);
    [[nodiscard]] static GitTools gitTools(std::optional<bool> installed, bool wasPrompted);
    [[nodiscard]] static CLI cli(const CLIStatus& status, bool isBusy);
    /// Empty where there is a button instead, or nothing to say.
    [[nodiscard]] static QString cliText(const CLIStatus& status, bool isBusy);
    [[nodiscard]] static Account account(const Facts& facts);
    [[nodiscard]] static QString accountText(const Facts& facts);
    /// The platform's host, or that of the default platform where none is configured.
    [[nodiscard]] static QString host(const std::optional<PlatformConfig>& config);
    /// The platform that is offered to a person who has not chosen one.
    [[nodiscard]] static QString defaultHost();

    [[nodiscard]] Step step() const { return m_step; }
    [[nodiscard]] Primary primary() const;
    [[nodiscard]] QString primaryTitle() const { return primary().title; }
    [[nodiscard]] bool primaryEnabled() const { return primary().kind != Primary::Kind::Waiting; }
    [[nodiscard]] bool isEditingHost() const { return m_editingHost; }
    [[nodiscard]] QString hostInput() const { return m_hostInput; }
    void setHostInput(const QString& text);
    /// Why what was to be saved is no platform; empty when nothing is wrong with it.
    [[nodiscard]] QString hostError() const { return m_hostError; }
    [[nodiscard]] QString host() const;
    [[nodiscard]] GitTools gitTools() const;
    [[nodiscard]] CLI cli() const;
    [[nodiscard]] QString cliText() const;
    /// Empty when the last operation did not fail.
    [[nodiscard]] QString cliError() const;
    [[nodiscard]] QString cliDetail() const;
    [[nodiscard]] LaunchAtLogin* launchAtLogin() { return &m_launchAtLogin; }
    [[nodiscard]] Account account() const;
    [[nodiscard]] QString accountText() const;
    /// Why the platform is out of reach; empty when it is not.
    [[nodiscard]] QString outage() const;
    /// The platform is being asked just now.
    [[nodiscard]] bool isRetrying() const;
    /// Empty when the last sign-in did not fail.
    [[nodiscard]] QString signInError() const;

    /// Does what the button at the foot says; nothing while it waits.
    Q_INVOKABLE void runPrimary();
    /// To the step so many places on, if there is one.
    Q_INVOKABLE void go(int delta);
    Q_INVOKABLE void promptGitInstall();
    Q_INVOKABLE void installCli();
    Q_INVOKABLE void editHost();
    /// Connects to what was typed, unless that can be no platform: then hostError() says so. Blanks leave everything as
    /// it is.
    Q_INVOKABLE void saveHost();
    Q_INVOKABLE void cancelHost();
    Q_INVOKABLE void retryNow();
    Q_INVOKABLE void cancelSignIn();

Q_SIGNALS:
    void stepChanged();
    void changed();
    void hostInputChanged();

private:
    [[nodiscard]] Facts facts() const;
    void enter(Step step);
    void setEditingHost(bool editing);
    void setHostError(const QString& error);

    Connection& m_connection;
    SignIn& m_signIn;
    Gates& m_gates;
    CLIInstaller& m_cli;
    DesktopServices& m_desktop;
    LaunchAtLogin m_launchAtLogin;
    Step m_step = Step::Welcome;
    bool m_editingHost = false;
    QString m_hostInput;
    QString m_hostError;
    bool m_installPrompted = false;
    /// Of the look for git, which goes on while the step that shows it is open.
    std::stop_source m_probe;
};

} // namespace driftwell
