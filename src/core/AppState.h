#pragma once

#include "support/Task.h"

#include <QSettings>

#include <memory>

namespace driftwell {

class CLIInstaller;
class Catalog;
class Collaboration;
class Connection;
class DeepLinks;
class Deployments;
class DesktopServices;
class Gates;
class LocalPlatform;
class LocalServerController;
class NewProject;
class PlatformClient;
class SignIn;
class SiteOperations;
struct AppSystem;

/// The model of the application, made of parts that each hold one concern: it owns them, wires them together, starts
/// and ends them. A screen takes the parts that it shows.
///
/// Confined to the main thread: every task that a part starts resumes there, and no lock guards them. What a part
/// started ends when it goes.
class AppState final {
public:
    /// `desktop` outlives the model. `defaults` is the person's key-value store. No work starts before start().
    AppState(std::unique_ptr<PlatformClient> client, DesktopServices& desktop, std::unique_ptr<QSettings> defaults,
             AppSystem system);
    AppState(std::unique_ptr<PlatformClient> client, DesktopServices& desktop, std::unique_ptr<QSettings> defaults);
    ~AppState();
    AppState(const AppState&) = delete;
    AppState& operator=(const AppState&) = delete;

    [[nodiscard]] DesktopServices& desktop() const { return m_desktop; }
    [[nodiscard]] PlatformClient& client() const { return *m_client; }
    [[nodiscard]] Catalog& catalog() const { return *m_catalog; }
    [[nodiscard]] Connection& connection() const { return *m_connection; }
    [[nodiscard]] Gates& gates() const { return *m_gates; }
    [[nodiscard]] CLIInstaller& cli() const { return *m_cli; }
    [[nodiscard]] LocalServerController& localServer() const { return *m_localServer; }
    [[nodiscard]] LocalPlatform& localPlatform() const { return *m_localPlatform; }
    [[nodiscard]] SiteOperations& siteOperations() const { return *m_siteOperations; }
    [[nodiscard]] Collaboration& collaboration() const { return *m_collaboration; }
    [[nodiscard]] DeepLinks& deepLinks() const { return *m_deepLinks; }
    [[nodiscard]] Deployments& deployments() const { return *m_deployments; }
    [[nodiscard]] NewProject& newProject() const { return *m_newProject; }
    [[nodiscard]] SignIn& signIn() const { return *m_signIn; }

    /// Reads the configuration, starts the polling that keeps the model current, the platform of this machine where one
    /// is configured, and the question what the command-line tool is. Later calls do nothing.
    void start();

    /// For the end of the process: stops everything that runs and resumes when all of it has ended, the temporary files
    /// of a deployment gone. What waits for the person is left to itself. Called once; nothing is asked of the model
    /// afterwards.
    Task<> end();

private:
    DesktopServices& m_desktop;
    // A part is made after those that it uses, and goes before them.
    std::unique_ptr<PlatformClient> m_client;
    std::unique_ptr<CLIInstaller> m_cli;
    std::unique_ptr<LocalServerController> m_localServer;
    std::unique_ptr<Catalog> m_catalog;
    std::unique_ptr<Connection> m_connection;
    std::unique_ptr<Gates> m_gates;
    std::unique_ptr<LocalPlatform> m_localPlatform;
    std::unique_ptr<SiteOperations> m_siteOperations;
    std::unique_ptr<Collaboration> m_collaboration;
    std::unique_ptr<DeepLinks> m_deepLinks;
    std::unique_ptr<Deployments> m_deployments;
    std::unique_ptr<NewProject> m_newProject;
    std::unique_ptr<SignIn> m_signIn;
    bool m_started = false;
};

} // namespace driftwell
