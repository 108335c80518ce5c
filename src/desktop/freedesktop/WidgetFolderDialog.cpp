#include "desktop/freedesktop/WidgetFolderDialog.h"

#include "desktop/FileUrl.h"
#include "desktop/freedesktop/WindowActivation.h"

#include <QDir>
#include <QFile>
#include <QWindow>

namespace driftwell {

WidgetFolderDialog::WidgetFolderDialog(QObject* parent) : FolderDialog(parent) {
    connect(&m_dialog, &QDialog::accepted, this,
            [this] { Q_EMIT finished(pathOfFileUrl(m_dialog.selectedUrls().value(0))); });
    connect(&m_dialog, &QDialog::rejected, this, [this] { Q_EMIT finished(std::nullopt); });
}

void WidgetFolderDialog::open(const FolderQuestion& question) {
    m_dialog.setFileMode(QFileDialog::Directory);
    m_dialog.setOption(QFileDialog::ShowDirsOnly);
    m_dialog.setWindowTitle(question.message);
    m_dialog.setLabelText(QFileDialog::Accept, question.prompt);
    m_dialog.setDirectory(question.startFolder ? QFile::decodeName(question.startFolder->c_str()) : QDir::homePath());

    m_dialog.winId();
    m_dialog.windowHandle()->setTransientParent(applicationWindow());
    m_dialog.open();
    bringForward();
}

void WidgetFolderDialog::bringForward() {
    m_dialog.raise();
    m_dialog.activateWindow();
}

} // namespace driftwell
