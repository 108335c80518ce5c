#pragma once

#include "ui/window/MainWindowModel.h"

#include <QObject>
#include <QWindow>

#include <filesystem>
#include <vector>

class QDropEvent;
class QMimeData;

namespace driftwell {

/// Makes a whole window the target of a dropped folder. The paths are bytes all the way: a folder whose name is not
/// text can be dropped.
class FolderDrop final : public QObject {
    Q_OBJECT

public:
    /// Both outlive the object.
    FolderDrop(QWindow& window, MainWindowModel& model);

    /// The dragged files that are on this machine, in their order.
    [[nodiscard]] static std::vector<std::filesystem::path> files(const QMimeData& data);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void hover(QDropEvent& event);
    void drop(QDropEvent& event);
    /// Looks which of the dragged files are folders, once for each drag.
    void readFolders(const QMimeData& data);

    QWindow& m_window;
    MainWindowModel& m_model;
    /// What is dragged, and the folders among it.
    std::vector<std::filesystem::path> m_files;
    std::vector<std::filesystem::path> m_folders;
};

} // namespace driftwell
