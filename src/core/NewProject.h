#pragma once

#include "support/Task.h"
#include "support/TaskGroup.h"

#include <QObject>

#include <filesystem>
#include <functional>
#include <optional>

namespace driftwell {

class Connection;
class DesktopServices;
class Gates;

/// How a folder that the person chooses, or that comes from outside the window, becomes a deployment. Confined to the
/// main thread.
class NewProject final : public QObject {
    Q_OBJECT

public:
    /// Opens a deployment of a folder.
    using Begin = std::function<void(const std::filesystem::path& folder)>;
    /// Whether another deployment is in the way of the next.
    using IsTaken = std::function<bool()>;

    /// The connection, the gates and the desktop outlive this.
    NewProject(Connection& connection, Gates& gates, DesktopServices& desktop, Begin begin, IsTaken isTaken);
    ~NewProject() override;

    /// Asks for a folder and opens a deployment of it; while another deployment is in the way, as soon as it is closed.
    void chooseFolderAndDeploy();

    /// The folder that waits until it can be deployed, if there is one.
    [[nodiscard]] const std::optional<std::filesystem::path>& waiting() const { return m_waiting; }

    // For what comes while nobody looks at the window, from a file manager or a terminal.

    /// Opens a deployment of the folder as soon as a platform can take it: at once, or once the introduction has been
    /// gone through, a platform is chosen and reached, it knows the person, and no other deployment is in the way. The
    /// newest folder is the one that counts.
    void deployWhenPossible(const std::filesystem::path& folder);

    /// The same for a folder that is asked for at once.
    void chooseFolderAndDeployWhenPossible();

    /// Opens the deployment of the folder that waits, if there is one and it can be opened now.
    void deployWaiting();

    /// Waits for no answer any more, and resumes when nothing does.
    Task<> end();

Q_SIGNALS:
    void waitingChanged();

private:
    void setWaiting(std::optional<std::filesystem::path> folder);
    Task<> chooseFolder(Begin then);

    Connection& m_connection;
    Gates& m_gates;
    DesktopServices& m_desktop;
    Begin m_begin;
    IsTaken m_isTaken;
    std::optional<std::filesystem::path> m_waiting;
    TaskGroup m_tasks;
};

} // namespace driftwell
