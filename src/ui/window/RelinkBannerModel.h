#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace driftwell {

class CLIInstaller;

/// The strip over the window's content while the command-line tool on the person's path is that of another copy of the
/// application.
class RelinkBannerModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the window's model")
    Q_PROPERTY(bool visible READ isVisible NOTIFY changed)
    Q_PROPERTY(QString text READ text CONSTANT)
    Q_PROPERTY(QString error READ error NOTIFY changed)
    Q_PROPERTY(bool busy READ isBusy NOTIFY changed)

public:
    /// The installer outlives the model.
    RelinkBannerModel(CLIInstaller& cli, QObject* parent);

    [[nodiscard]] static QString text(const QString& commandName);

    [[nodiscard]] bool isVisible() const;
    [[nodiscard]] QString text() const;
    /// Why the last attempt failed; empty when there is nothing to tell.
    [[nodiscard]] QString error() const;
    [[nodiscard]] bool isBusy() const;

    Q_INVOKABLE void relink();

Q_SIGNALS:
    void changed();

private:
    CLIInstaller& m_cli;
};

} // namespace driftwell
