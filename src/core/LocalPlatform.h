#pragma once

#include "support/Task.h"
#include "support/TaskGroup.h"

#include <QObject>
#include <QProperty>
#include <QString>

#include <filesystem>
#include <optional>

namespace driftwell {

class Connection;
class ConfigStore;
class DesktopServices;
class LocalServerController;

/// The platform that the application runs itself, from a checkout on this machine. Confined to the main thread.
class LocalPlatform final : public QObject {
    Q_OBJECT

public:
    /// All of these outlive this.
    LocalPlatform(const ConfigStore& store, Connection& connection, DesktopServices& desktop,
                  LocalServerController& server);
    ~LocalPlatform() override;

    /// The checkout that is configured.
    [[nodiscard]] std::optional<std::filesystem::path> localRepo() const;
    /// Why the folder chosen last was refused.
    [[nodiscard]] std::optional<QString> localSetupError() const { return m_localSetupError; }

    /// The boot at the start of the application: starts the server in the background where the configured platform is a
    /// local one and there is a checkout.
    void startIfConfigured();

    /// Starts the server of the configured checkout in the background, whenever the last attempt was; without a
    /// checkout or a platform, asks for the checkout.
    void startOrChooseRepo();

    /// Asks for the checkout and runs the platform from it.
    void chooseRepoAndRunLocalPlatform();

    /// Remembers the checkout, connects to the platform that is configured, or to one on this machine if there is none,
    /// and starts the server in the background. A folder that is no checkout of the platform only sets
    /// localSetupError().
    void runLocalPlatform(const std::filesystem::path& repo);

    /// Waits for no answer and no start any more, and resumes when nothing of this runs.
    Task<> end();

Q_SIGNALS:
    void localRepoChanged();
    void localSetupErrorChanged();

private:
    Task<> chooseRepo();
    Task<> startAndRefresh(std::filesystem::path repo, QString origin);

    const ConfigStore& m_store;
    Connection& m_connection;
    DesktopServices& m_desktop;
    LocalServerController& m_server;
    TaskGroup m_tasks;
    Q_OBJECT_BINDABLE_PROPERTY(LocalPlatform, std::optional<QString>, m_localSetupError,
                               &LocalPlatform::localSetupErrorChanged)
};

} // namespace driftwell
