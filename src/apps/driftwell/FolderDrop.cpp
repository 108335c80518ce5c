#include "apps/driftwell/FolderDrop.h"

#include "desktop/FileUrl.h"

#include <QDropEvent>
#include <QMimeData>

#include <system_error>
#include <utility>

namespace driftwell {

FolderDrop::FolderDrop(QWindow& window, MainWindowModel& model) : m_window(window), m_model(model) {
    window.installEventFilter(this);
}

std::vector<std::filesystem::path> FolderDrop::files(const QMimeData& data) {
    std::vector<std::filesystem::path> paths;
    const QList<QUrl> urls = data.urls();
    for (const QUrl& url : urls) {
        if (auto path = pathOfFileUrl(url)) {
            paths.push_back(std::move(*path));
        }
    }
    return paths;
}

void FolderDrop::readFolders(const QMimeData& data) {
    std::vector<std::filesystem::path> dragged = files(data);
    if (dragged == m_files) {
        return;
    }
    m_files = std::move(dragged);
    m_folders.clear();
    for (const std::filesystem::path& file : m_files) {
        std::error_code unreadable;
        if (std::filesystem::is_directory(file, unreadable)) {
            m_folders.push_back(file);
        }
    }
}

bool FolderDrop::eventFilter(QObject*, QEvent* event) {
    switch (event->type()) {
    case QEvent::DragEnter:
    case QEvent::DragMove:
        hover(*static_cast<QDropEvent*>(event));
        return true;
    case QEvent::DragLeave:
        m_model.setDropTargeted(false);
        return true;
    case QEvent::Drop:
        drop(*static_cast<QDropEvent*>(event));
        return true;
    default:
        return false;
    }
}

void FolderDrop::hover(QDropEvent& event) {
    if (event.type() == QEvent::DragEnter) {
        m_files.clear();
    }
    readFolders(*event.mimeData());
    m_model.hover(m_folders);
    if (!m_folders.empty() && m_model.takesDrop()) {
        // The files are read and stay where they are, whatever the file manager proposes.
        event.setDropAction(Qt::CopyAction);
        event.accept();
    } else {
        event.ignore();
    }
}

void FolderDrop::drop(QDropEvent& event) {
    readFolders(*event.mimeData());
    m_model.setDropTargeted(false);
    if (m_folders.empty() || !m_model.takesDrop()) {
        event.ignore();
        return;
    }
    event.setDropAction(Qt::CopyAction);
    event.accept();
    m_model.drop(m_folders.front());
    // The keyboard is still in the file manager, and the name is to be typed here.
    m_window.requestActivate();
}

} // namespace driftwell
