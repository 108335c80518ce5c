#pragma once

#include "core/ConnectionStatus.h"
#include "ui/style/Tone.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace driftwell {

class Catalog;
class Connection;

/// The window's bar: what it says of the connection and the person, and the filter.
class ToolbarModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the window's model")
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(driftwell::Tones::Tone statusTone READ statusTone NOTIFY statusChanged)
    Q_PROPERTY(QString statusTip READ statusTip NOTIFY statusChanged)
    Q_PROPERTY(QString host READ host NOTIFY hostChanged)
    Q_PROPERTY(QString filter READ filter WRITE setFilter NOTIFY filterChanged)
    Q_PROPERTY(bool hasIdentity READ hasIdentity NOTIFY identityChanged)
    Q_PROPERTY(QString personName READ personName NOTIFY identityChanged)
    Q_PROPERTY(QString personEmail READ personEmail NOTIFY identityChanged)
    Q_PROPERTY(QString personTip READ personTip NOTIFY identityChanged)
    Q_PROPERTY(bool signOutOffered READ isSignOutOffered NOTIFY hostChanged)

public:
    /// The parts outlive the model. `developmentCopy` is said in the title.
    ToolbarModel(Connection& connection, Catalog& catalog, bool developmentCopy, QObject* parent);

    [[nodiscard]] QString title() const;
    [[nodiscard]] Tone statusTone() const;
    [[nodiscard]] QString statusTip() const;
    [[nodiscard]] QString host() const;
    [[nodiscard]] QString filter() const;
    void setFilter(const QString& filter);
    [[nodiscard]] bool hasIdentity() const;
    [[nodiscard]] QString personName() const;
    [[nodiscard]] QString personEmail() const;
    [[nodiscard]] QString personTip() const;
    /// A platform on this machine has no account to sign out of.
    [[nodiscard]] bool isSignOutOffered() const;

    Q_INVOKABLE void openSettings() { Q_EMIT settingsRequested(); }
    Q_INVOKABLE void signOut() { Q_EMIT signOutRequested(); }

    [[nodiscard]] static Tone statusTone(const ConnectionStatus& status);
    [[nodiscard]] static QString statusTip(const ConnectionStatus& status);

Q_SIGNALS:
    void statusChanged();
    void hostChanged();
    void filterChanged();
    void identityChanged();
    // Both belong to the window.
    void settingsRequested();
    void signOutRequested();

private:
    Connection& m_connection;
    Catalog& m_catalog;
    bool m_developmentCopy;
};

} // namespace driftwell
