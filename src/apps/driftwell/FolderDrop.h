#pragma once

#include "ui/window/MainWindowModel.h"

#include <QObject>
#include <QWindow>

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

    /// The first of the dragged files; absent when none is on this machine. Further ones are ignored.
    [[nodiscard]] static std::optional<std::filesystem::path> firstFile(const QMimeData& data);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void hover(QDropEvent& event);
    void drop(QDropEvent& event);

    QWindow& m_window;
    MainWindowModel& m_model;
};

} // namespace driftwell
