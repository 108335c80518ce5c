#pragma once

#include "support/Task.h"
#include "support/TaskGroup.h"

#include <QObject>

#include <filesystem>
#include <functional>
#include <stop_token>

namespace driftwell {

class Connection;
class DesktopServices;

/// How a folder that the person chooses becomes a deployment. Confined to the main thread.
class NewProject final : public QObject {
    Q_OBJECT

public:
    /// Opens a deployment of a folder.
    using Begin = std::function<void(const std::filesystem::path& folder)>;

    /// The connection and the desktop outlive this.
    NewProject(Connection& connection, DesktopServices& desktop, Begin begin);
    ~NewProject() override;

    /// Asks for a folder and opens a deployment of it.
    void chooseFolderAndDeploy();

    /// Waits for no answer any more, and resumes when nothing does.
    Task<> end();

private:
    Task<> chooseFolder();

    Connection& m_connection;
    DesktopServices& m_desktop;
    Begin m_begin;
    TaskGroup m_tasks;
};

} // namespace driftwell
