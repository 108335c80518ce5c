#pragma once

#include "platform/PlatformConfig.h"
#include "support/Sleep.h"
#include "support/Task.h"
#include "support/TaskGroup.h"

#include <QObject>
#include <QProperty>
#include <QString>

#include <optional>
#include <stop_token>

namespace driftwell {

class Connection;
class DesktopServices;
class PlatformClient;

/// Signing in through the browser, and signing out. Confined to the main thread.
class SignIn final : public QObject {
    Q_OBJECT

public:
    /// All of these outlive this.
    SignIn(PlatformClient& client, Connection& connection, DesktopServices& desktop, Sleeper sleep = sleepFor);
    ~SignIn() override;

    /// A browser sign-in is running.
    [[nodiscard]] bool isSigningIn() const { return m_isSigningIn; }
    /// Why the last sign-in failed.
    [[nodiscard]] std::optional<QString> signInError() const { return m_signInError; }

    /// Signs in through the browser, and refreshes. Does nothing without a platform, and while a sign-in is running.
    void signIn();

    /// Ends the running sign-in at once; its work stops in the background and leaves no message.
    void cancelSignIn();

    /// Forgets the platform's token, the person and what was fetched for them, and ends a running sign-in. Does nothing
    /// without a platform.
    void signOut();

    /// Stops a running sign-in, and resumes when it has ended.
    Task<> end();

Q_SIGNALS:
    void isSigningInChanged();
    void signInErrorChanged();
    /// The browser has come back and the person is signed in.
    void cameBack();

private:
    Task<> runSignIn(PlatformConfig config, std::stop_token cancel);
    Task<> enter(PlatformConfig config, std::stop_token stop);
    [[nodiscard]] bool isRunningSignIn(const std::stop_token& cancel) const;

    PlatformClient& m_client;
    Connection& m_connection;
    DesktopServices& m_desktop;
    Sleeper m_sleep;
    std::optional<std::stop_source> m_signInTask;
    TaskGroup m_tasks;
    Q_OBJECT_BINDABLE_PROPERTY(SignIn, bool, m_isSigningIn, &SignIn::isSigningInChanged)
    Q_OBJECT_BINDABLE_PROPERTY(SignIn, std::optional<QString>, m_signInError, &SignIn::signInErrorChanged)
};

} // namespace driftwell
