#pragma once

#include "support/Bundle.h"
#include "support/Task.h"
#include "support/TaskGroup.h"
#include "tooling/CLIStatus.h"

#include <QObject>
#include <QProperty>
#include <QString>

#include <chrono>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace driftwell {

/// The link that puts the command-line tool of this application on the person's path, /usr/local/bin/dw: what the
/// command is to a terminal at present, and the link's making and removal with the administrator's rights that both
/// take. Confined to the main thread; no operation throws.
class CLIInstaller final : public QObject {
    Q_OBJECT

public:
    using Status = CLIStatus;

    /// Where things lie. A test has a system of its own.
    struct System {
        std::filesystem::path linkFolder = "/usr/local/bin";
        std::filesystem::path pathsFile = "/etc/paths";
        std::filesystem::path pathsFolder = "/etc/paths.d";
        std::filesystem::path pkexec = "/usr/bin/pkexec";
        /// The shell where the environment names none.
        std::filesystem::path usualShell = "/bin/zsh";
        /// How long a shell has to tell its search path.
        std::chrono::milliseconds shellTimeout = std::chrono::seconds(3);
    };

    /// The bundle is the one whose tool is linked.
    explicit CLIInstaller(const Bundle& bundle, System system);
    explicit CLIInstaller(const Bundle& bundle) : CLIInstaller(bundle, System()) {}
    ~CLIInstaller() override;

    /// The name that a person types: the bundle's DWCommandName, or else "dw".
    [[nodiscard]] const QString& commandName() const { return m_commandName; }
    /// The application's own tool, Contents/Helpers/dw, whatever the command is called. Empty without a bundle.
    [[nodiscard]] const std::filesystem::path& helperPath() const { return m_helperPath; }
    /// The link that install() makes and remove() removes.
    [[nodiscard]] const std::filesystem::path& linkPath() const { return m_linkPath; }

    [[nodiscard]] Status status() const { return m_status; }
    /// A privileged operation runs, its detect() included.
    [[nodiscard]] bool busy() const { return m_busy; }
    /// Why the last privileged operation failed. The next one clears it.
    [[nodiscard]] std::optional<QString> error() const { return m_error; }
    /// What the application's own tool says for --version.
    [[nodiscard]] std::optional<QString> version() const { return m_version; }
    /// Where the command lies that a terminal would run, linked to this application: linkPath() as a rule, or the place
    /// where a package has put it. Absent with any other status.
    [[nodiscard]] std::optional<std::filesystem::path> commandPath() const { return m_commandPath; }
    /// There is a link at linkPath() that leads to this application's tool. Without one remove() would change nothing,
    /// so it is not to be offered then.
    [[nodiscard]] bool canRemove() const { return m_canRemove; }

    /// Finds out status and version.
    Task<> detect();

    /// Makes the link, whatever the status is, once the administrator has agreed. Returns at once while another
    /// operation runs.
    Task<> install();

    /// Removes the link, once the administrator has agreed. Does nothing unless the status is LinkedToThisApp and
    /// canRemove() holds.
    Task<> remove();

    /// Stops all that runs and resumes when it has ended. A password dialog that is open is left to itself.
    Task<> end();

Q_SIGNALS:
    void statusChanged();
    void busyChanged();
    void errorChanged();
    void versionChanged();
    void commandPathChanged();
    void canRemoveChanged();

private:
    QString m_commandName;
    std::filesystem::path m_helperPath;
    std::filesystem::path m_linkPath;
    System m_system;
    TaskGroup m_tasks;

    Q_OBJECT_BINDABLE_PROPERTY(CLIInstaller, CLIInstaller::Status, m_status, &CLIInstaller::statusChanged)
    Q_OBJECT_BINDABLE_PROPERTY(CLIInstaller, bool, m_busy, &CLIInstaller::busyChanged)
    Q_OBJECT_BINDABLE_PROPERTY(CLIInstaller, std::optional<QString>, m_error, &CLIInstaller::errorChanged)
    Q_OBJECT_BINDABLE_PROPERTY(CLIInstaller, std::optional<QString>, m_version, &CLIInstaller::versionChanged)
    Q_OBJECT_BINDABLE_PROPERTY(CLIInstaller, std::optional<std::filesystem::path>, m_commandPath,
                               &CLIInstaller::commandPathChanged)
    Q_OBJECT_BINDABLE_PROPERTY(CLIInstaller, bool, m_canRemove, &CLIInstaller::canRemoveChanged)
};

} // namespace driftwell
