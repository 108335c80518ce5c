#pragma once

#include "core/ConnectionStatus.h"
#include "platform/PlatformConfig.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace driftwell {

class Connection;
class SignIn;

/// The screen of a person whom the platform does not let in: signed out, or not on the team.
class SignInModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the window's model")
    Q_PROPERTY(QString symbol READ symbol NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QString text READ text NOTIFY changed)
    Q_PROPERTY(bool hasIdentity READ hasIdentity NOTIFY changed)
    Q_PROPERTY(QString personName READ personName NOTIFY changed)
    Q_PROPERTY(QString personEmail READ personEmail NOTIFY changed)
    Q_PROPERTY(Action action READ action NOTIFY changed)
    Q_PROPERTY(QString error READ error NOTIFY changed)

public:
    /// What the person can do.
    enum class Action { SignIn, SignOut, Cancel };
    Q_ENUM(Action)

    /// The parts outlive the model.
    SignInModel(Connection& connection, SignIn& signIn, QObject* parent);

    // The texts, as functions of what is known.
    [[nodiscard]] static QString symbol(const ConnectionStatus& status);
    [[nodiscard]] static QString title(const ConnectionStatus& status, const std::optional<PlatformConfig>& config);
    /// The platform's words for a person who is not on the team, else what is going to happen.
    [[nodiscard]] static QString text(const ConnectionStatus& status);
    [[nodiscard]] static Action action(const ConnectionStatus& status, bool isSigningIn);

    [[nodiscard]] QString symbol() const;
    [[nodiscard]] QString title() const;
    [[nodiscard]] QString text() const;
    [[nodiscard]] bool hasIdentity() const;
    [[nodiscard]] QString personName() const;
    [[nodiscard]] QString personEmail() const;
    [[nodiscard]] Action action() const;
    /// Why the last attempt failed; empty when it did not.
    [[nodiscard]] QString error() const;

    Q_INVOKABLE void signIn();
    Q_INVOKABLE void cancelSignIn();
    Q_INVOKABLE void signOut();
    /// It is another platform that the person means.
    Q_INVOKABLE void changePlatform();

Q_SIGNALS:
    void changed();
    void platformChangeRequested();

private:
    Connection& m_connection;
    SignIn& m_signIn;
};

} // namespace driftwell
