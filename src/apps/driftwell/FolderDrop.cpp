#include "apps/driftwell/FolderDrop.h"

#include "desktop/FileUrl.h"

#include <QDropEvent>
#include <QMimeData>

namespace driftwell {

FolderDrop::FolderDrop(QWindow& window, MainWindowModel& model) : m_window(window), m_model(model) {
    window.installEventFilter(this);
}

std::optional<std::filesystem::path> FolderDrop::firstFile(const QMimeData& data) {
    const QList<QUrl> urls = data.urls();
    for (const QUrl& url : urls) {
        if (auto path = pathOfFileUrl(url)) {
            return path;
        }
    }
    return std::nullopt;
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
    const bool isFile = firstFile(*event.mimeData()).has_value();
    m_model.setDropTargeted(isFile);
    if (isFile && m_model.canDeploy()) {
        // The files are read and stay where they are, whatever the file manager proposes.
        event.setDropAction(Qt::CopyAction);
        event.accept();
    } else {
        event.ignore();
    }
}

void FolderDrop::drop(QDropEvent& event) {
    m_model.setDropTargeted(false);
    const std::optional<std::filesystem::path> file = firstFile(*event.mimeData());
    if (!file || !m_model.canDeploy()) {
        event.ignore();
        return;
    }
    event.setDropAction(Qt::CopyAction);
    event.accept();
    m_model.drop(*file);
    // The keyboard is still in the file manager, and the name is to be typed here.
    m_window.requestActivate();
}

} // namespace driftwell
